; The first menu of Windows 11, which knows the items by a package alone: it is staged with a folder of its own and then
; provided for all users, by the system's PowerShell. Windows may refuse that, by a policy for one, which is a note in
; the result and never a failure of the setup.
;
; Read once for the setup and once for the uninstaller, with UN being the prefix of the latter's functions.
; Registers: $R8 the folder that PowerShell works in, $R9 its task, then what it has said; $0 becomes its status, and all
; numbered ones change.

!if "${UN}" == ""
Var Windows11           ; not empty where the items are asked for in the first menu
Var Windows11Package    ; what Windows said when it refused the package, or empty
Var OldWindows11Folder  ; that the installed package is registered with, or empty
Var OldWindows11Package
Var Note                ; what is said when all is done
!ifdef WITH_64_BIT
Var FirstMenuBox        ; the box of the dialog's page
!endif

; The 64-bit one, as the commands for all users serve the Windows of their own bitness.
!define POWERSHELL "$WINDIR\Sysnative\WindowsPowerShell\v1.0\powershell.exe"
!define PACKAGE "Norvak.ContextMenu"
!define PATIENCE 300000

; A person's own modules must not take the place of the system's. No path is a part of the command: it works where it is
; started. What it says has a code: Windows mostly names one, and the code beside such a sentence may be any failure's.
!define ASK "$$env:PSModulePath = $$PSHOME + '\Modules'; $$ErrorActionPreference = 'Stop'; \
$$ProgressPreference = 'SilentlyContinue'; try { TASK } catch { $$said = $$_.Exception.Message; \
if ($$said -notmatch '0x[0-9a-f]{8}') { $$said = '0x{0:X8} {1}' -f $$_.Exception.HResult, $$said }; \
$$said -replace '\s+', ' '; exit 1 }"
!searchreplace ASK_TO_ADD "${ASK}" "TASK" "$$folder = (Get-Location).ProviderPath; \
$$package = Join-Path $$folder 'NorvakContextMenu.msix'; Add-AppxPackage -Stage $$package -ExternalLocation $$folder; \
Add-AppxProvisionedPackage -Online -PackagePath $$package -SkipLicense | Out-Null"
!searchreplace ASK_TO_REMOVE "${ASK}" "TASK" "try { Get-AppxProvisionedPackage -Online | \
Where-Object DisplayName -EQ '${PACKAGE}' | Remove-AppxProvisionedPackage -Online | Out-Null } finally { \
Get-AppxPackage -AllUsers -Name '${PACKAGE}' | Remove-AppxPackage -AllUsers }"
!endif

; Its window stays hidden, and its environment is the machine's: one of the person's could have it load anything.
Function ${UN}AskPowerShell
  System::Call '*(i 12, p 0, i 1) p .r1'
  System::Call 'kernel32::CreatePipe(*p .r2, *p .r3, p r1, i 65536)'
  System::Call 'kernel32::SetHandleInformation(p r2, i 1, i 0)'
  System::Call 'kernel32::CreateFileW(t "NUL", i 0x80000000, i 3, p r1, i 3, i 0, p 0) p .r4'
  System::Free $1
  System::Call 'userenv::CreateEnvironmentBlock(*p .r5, p 0, i 0)'
  System::Call '*(i 68, p 0, p 0, p 0, i 0, i 0, i 0, i 0, i 0, i 0, i 0, i 0x100, i 0, p 0, p r4, p r3, p r3) p .r6'
  System::Call '*(p 0, p 0, i 0, i 0) p .r7'
  StrCpy $R9 '"${POWERSHELL}" -NoLogo -NoProfile -NonInteractive -Command "$R9"'
  System::Call 'kernel32::CreateProcessW(t "${POWERSHELL}", t R9, p 0, p 0, i 1, i 0x08000400, p r5, t R8, p r6, p r7) \
    i .r1 ?e'
  Pop $0
  System::Call 'kernel32::CloseHandle(p r3)'
  System::Call 'kernel32::CloseHandle(p r4)'
  System::Call 'userenv::DestroyEnvironmentBlock(p r5)'
  StrCpy $R9 ""
  ${If} $1 <> 0
    System::Call '*$7(p .r3, p .r4)'
    System::Call 'kernel32::WaitForSingleObject(p r3, i ${PATIENCE}) i .r0'
    ${If} $0 <> 0
      System::Call 'kernel32::TerminateProcess(p r3, i r0)'
    ${Else}
      System::Call 'kernel32::GetExitCodeProcess(p r3, *i .r0)'
    ${EndIf}
    System::Call 'kernel32::CloseHandle(p r3)'
    System::Call 'kernel32::CloseHandle(p r4)'
    ; What it said is shorter than the pipe, and all of it is there by now.
    System::Alloc 512
    Pop $8
    System::Call 'kernel32::PeekNamedPipe(p r2, p r8, i 500, p 0, p 0, p 0)'
    System::Call 'kernel32::MultiByteToWideChar(i 1, i 0, p r8, i -1, t .R9, i ${NSIS_MAX_STRLEN})'
    System::Free $8
    ${WordReplace} $R9 "$\r" "" "+" $R9
    ${WordReplace} $R9 "$\n" "" "+" $R9
  ${EndIf}
  System::Call 'kernel32::CloseHandle(p r2)'
  System::Free $6
  System::Free $7
  ${If} $0 <> 0
  ${AndIf} $R9 == ""
    StrCpy $R9 '$(PowerShellEnded)'
  ${EndIf}
FunctionEnd

; A sentence a line.
Function ${UN}AddNote
  ${If} $Note != ""
    StrCpy $Note "$Note${LINE}"
  ${EndIf}
  StrCpy $Note "$Note$R9"
FunctionEnd

; For all users that there are and will be.
Function ${UN}RemovePackage
  StrCpy $R8 $SYSDIR
  StrCpy $R9 "${ASK_TO_REMOVE}"
  Call ${UN}AskPowerShell
FunctionEnd

; Of the folder $R8.
Function ${UN}AddPackage
  StrCpy $R9 "${ASK_TO_ADD}"
  Call ${UN}AskPowerShell
FunctionEnd

; That of the installed version.
Function ${UN}RemoveOldPackage
  ${If} $OldWindows11Folder == ""
    Return
  ${EndIf}
  Call ${UN}RemovePackage
  ${If} $0 <> 0
    StrCpy $R9 '$(PackageStays) $R9'
    Call ${UN}AddNote
  ${ElseIf} $OldWindows11Package == ""
    Push $OldWindows11Folder
    !insertmacro UndoBy UndoRemovedPackage
  ${EndIf}
FunctionEnd

Function ${UN}UndoRemovedPackage
  Pop $R8
  Call ${UN}AddPackage
FunctionEnd

!if "${UN}" == ""
; What was begun of a refused package is taken back.
Function AddNewPackage
  StrCpy $R8 "$INSTDIR\win11"
  Call AddPackage
  ${If} $0 = 0
    !insertmacro UndoBy RemovePackage
    Return
  ${EndIf}
  StrCpy $Windows11Package $R9
  Call RemovePackage
  StrCpy $R9 '$(PackageRefused) $Windows11Package'
  Call AddNote
FunctionEnd

; Where the version before had made it in the same folder, and this one has no use for it.
Function DropWindows11Folder
  ${If} $Windows11 == ""
  ${AndIf} $OldWindows11Folder == "$INSTDIR\win11"
    ClearErrors
    ${WordFind} "|$OldMadeSubfolders" "|" "E/win11" $1
    ${IfNot} ${Errors}
      StrCpy $R0 $OldWindows11Folder
      Call RemoveFolder
    ${EndIf}
  ${EndIf}
FunctionEnd

!ifdef WITH_64_BIT
; $0 is 0 where this Windows has no first menu for the package.
Function HasFirstMenu
  StrCpy $0 0
  ${If} $Folder64 != ""
  ${AndIf} ${AtLeastWin11}
    StrCpy $0 1
  ${EndIf}
FunctionEnd

; An installation that has it keeps it, unless the command line or the person says otherwise.
Function SettleFirstMenu
  Call HasFirstMenu
  ${If} $Windows11 == yes
  ${AndIf} $0 = 0
    StrCpy $R9 '$(NoFirstMenu)'
    Call AddNote
  ${ElseIf} $Windows11 == ""
  ${AndIf} $OldWindows11Folder != ""
    StrCpy $Windows11 yes
  ${EndIf}
  ${If} $Windows11 != yes
  ${OrIf} $0 = 0
    StrCpy $Windows11 ""
  ${EndIf}
FunctionEnd

; A page where there is a choice.
Function AskFirstMenu
  Call HasFirstMenu
  ${If} $0 = 0
    Abort
  ${EndIf}
  !insertmacro MUI_HEADER_TEXT "$(FirstMenu)" "$(FirstMenuWhere)"
  nsDialogs::Create 1018
  Pop $0
  ${NSD_CreateCheckBox} 0 0 100% 12u "$(FirstMenuToo)"
  Pop $FirstMenuBox
  ${If} $Windows11 != ""
    ${NSD_Check} $FirstMenuBox
  ${EndIf}
  ${NSD_CreateLabel} 0 20u 100% 60u "$(FirstMenuUnseen)"
  Pop $0
  nsDialogs::Show
FunctionEnd

Function ReadFirstMenu
  StrCpy $Windows11 ""
  ${NSD_GetState} $FirstMenuBox $0
  ${If} $0 = ${BST_CHECKED}
    StrCpy $Windows11 yes
  ${EndIf}
FunctionEnd
!endif
!endif
