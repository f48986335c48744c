; The words of the command line: "/?" and unknown ones are answered before anything is asked or done.
;
; Read once for the setup and once for the uninstaller, with UN being the prefix of the latter's functions.

!if "${UN}" == ""
Var Removes  ; not empty if the installed version is just to be removed

!macro Refuse TEXT
  StrCpy $Failure '${TEXT}'
  Call ${UN}Refuse
!macroend
!endif

Function ${UN}ReadWords
  System::Call 'kernel32::GetCommandLineW() p .r0'
  System::Call 'shell32::CommandLineToArgvW(p r0, *i .r1) p .r2'
  StrCpy $3 1
  ${DoWhile} $3 < $1
    IntOp $4 $3 * 4
    IntOp $4 $4 + $2
    System::Call '*$4(t .r5)'
    StrCpy $Subject $5
    ; A folder, which is the rest of the line.
    StrCpy $6 $5 3
    !if "${UN}" == ""
      ${If} $6 == "/D="
        ${ExitDo}
      ${EndIf}
    !else
      ${If} $6 == "_?="
        ${ExitDo}
      ${EndIf}
    !endif
    ${If} $5 == "/S"
      SetSilent silent
    !if "${UN}" == ""
    ${ElseIf} $5 == "/remove"
      StrCpy $Removes yes
    ${ElseIf} $5 == "/WIN11"
      StrCpy $Windows11 yes
    ${ElseIf} $5 == "/NOWIN11"
      StrCpy $Windows11 no
    !endif
    ${ElseIf} $5 == "/?"
    ${OrIf} $5 == "-?"
    ${OrIf} $5 == "-h"
    ${OrIf} $5 == "--help"
    ${OrIf} $5 == "/help"
      !if "${UN}" == ""
        !insertmacro Refuse '$(Usage)'
      !else
        !insertmacro Refuse '$(UninstallUsage)'
      !endif
    ${ElseIf} $5 != "/NCRC"
      !insertmacro Refuse '$(Failed) $(UnknownWord)'
    ${EndIf}
    IntOp $3 $3 + 1
  ${Loop}
  System::Call 'kernel32::LocalFree(p r2)'
FunctionEnd

; Where nobody can read it at a console, a message box shows it: on a desktop that a person sees, and never on that of a
; service, where it would wait for ever.
Function ${UN}Refuse
  Call ${UN}WriteFailure
  ${If} $3 = 0
  ${AndIfNot} ${Silent}
    System::Call 'user32::GetProcessWindowStation() p .r0'
    System::Call '*(i, i, i) p .r1'
    System::Call 'user32::GetUserObjectInformationW(p r0, i 1, p r1, i 12, p 0)'
    System::Call '*$1(i, i, i .r2)'
    System::Free $1
    IntOp $2 $2 & 1
    ${If} $2 <> 0
      MessageBox MB_OK|MB_ICONINFORMATION "$Failure"
    ${EndIf}
  ${EndIf}
  SetErrorLevel 2
  Abort
FunctionEnd
