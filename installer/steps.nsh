; Steps that can be taken back. A step does one thing to the machine, and leaves on the stack what takes that back:
; the arguments of an undo routine and the routine's address. A step that fails runs them all, last first, says what
; has failed, and ends the run.
;
; Read once for the setup and once for the uninstaller, with UN being the prefix of the latter's functions.
; Registers: $1 registry view, $2 key below HKLM, $3 name, $4 type, $5 data; $8 an open key; $0 a status;
; $R0 a file, $R1 the name that it is moved aside to, $R2 where a new one comes from.

!if "${UN}" == ""
!define HKLM 0x80000002
!define KEY_READ_WRITE 0x2001F
!define FILE_NOT_FOUND 2
!define SAVED_TREES "Software\Norvak Context Menu Setup"
!define ASIDE ".setup-"

!macro UndoBy ROUTINE
  GetFunctionAddress $9 ${UN}${ROUTINE}
  Push $9
!macroend

; STATUS may be empty; else it is the platform's, and its text is the reason.
!macro Fail CLAUSE STATUS
  StrCpy $Failure '$(Failed) ${CLAUSE}'
  StrCpy $0 '${STATUS}'
  Call ${UN}Fail
!macroend
!endif

Function ${UN}Fail
  ${If} $0 != ""
    System::Call 'kernel32::FormatMessageW(i 0x12FF, p 0, i r0, i 0, t .r1, i ${NSIS_MAX_STRLEN}, p 0)'
    ${WordReplace} $1 " " "" "}*" $1
    StrCpy $Failure "$Failure: $1"
  ${EndIf}
  Call ${UN}UndoAll
  ${If} ${Silent}
    Call ${UN}WriteFailure
  ${Else}
    MessageBox MB_OK|MB_ICONSTOP "$Failure"
  ${EndIf}
  SetErrorLevel 2
  Abort
FunctionEnd

; To the standard error output, else to the console that the program was started at. $3 is 0 where there is neither.
Function ${UN}WriteFailure
  StrCpy $1 "$Failure$\r$\n"
  StrLen $2 $1
  System::Call 'kernel32::GetStdHandle(i -12) p .r0'
  Call ${UN}WriteText
  ${If} $3 = 0
    System::Call 'kernel32::AttachConsole(i -1)'
    System::Call 'kernel32::CreateFileW(t "CONOUT$$", i 0x40000000, i 2, p 0, i 3, i 0, p 0) p .r0'
    Call ${UN}WriteText
  ${EndIf}
FunctionEnd

; A console takes UTF-16, anything else gets UTF-8.
Function ${UN}WriteText
  System::Call 'kernel32::WriteConsoleW(p r0, t r1, i r2, *i, p 0) i .r3'
  ${If} $3 = 0
    System::Alloc 4096
    Pop $4
    System::Call 'kernel32::WideCharToMultiByte(i 65001, i 0, t r1, i r2, p r4, i 4096, p 0, p 0) i .r3'
    System::Call 'kernel32::WriteFile(p r0, p r4, i r3, *i, p 0) i .r3'
    System::Free $4
  ${EndIf}
FunctionEnd

Function ${UN}UndoAll
  ${Do}
    Pop $9
    ${If} $9 == "begin"
      ${ExitDo}
    ${EndIf}
    Call $9
  ${Loop}
  Call ${UN}DropSavedTrees
FunctionEnd

; ---- Registry values and their keys

Function ${UN}OpenKey
  IntOp $0 $1 | ${KEY_READ_WRITE}
  System::Call 'advapi32::RegOpenKeyExW(p ${HKLM}, t r2, i 0, i r0, *p .r8) i .r0'
FunctionEnd

Function ${UN}CreateKey
  IntOp $0 $1 | ${KEY_READ_WRITE}
  System::Call 'advapi32::RegCreateKeyExW(p ${HKLM}, t r2, i 0, p 0, i 0, i r0, p 0, *p .r8, p 0) i .r0'
FunctionEnd

Function ${UN}CloseKey
  System::Call 'advapi32::RegCloseKey(p r8)'
FunctionEnd

; $0 becomes 0 if the key is gone by this.
Function ${UN}DeleteKeyIfEmpty
  Call ${UN}OpenKey
  ${If} $0 = 0
    System::Call 'advapi32::RegQueryInfoKeyW(p r8, p 0, p 0, p 0, *i .r6, p 0, p 0, *i .r7, p 0, p 0, p 0, p 0) i .r0'
    Call ${UN}CloseKey
    IntOp $0 $6 + $7
    ${If} $0 = 0
      System::Call 'advapi32::RegDeleteKeyExW(p ${HKLM}, t r2, i r1, i 0) i .r0'
    ${EndIf}
  ${EndIf}
FunctionEnd

; Notes the value $3 of the open key, whatever its type.
Function ${UN}NoteValue
  StrCpy $6 ""
  System::Call 'advapi32::RegQueryValueExW(p r8, t r3, p 0, *i .r9, p 0, *i .r7) i .r0'
  ${If} $0 = 0
    System::Alloc $7
    Pop $6
    System::Call 'advapi32::RegQueryValueExW(p r8, t r3, p 0, p 0, p r6, *i r7)'
  ${EndIf}
  Push $1
  Push $2
  Push $3
  Push $9
  Push $7
  Push $6
  !insertmacro UndoBy UndoValue
FunctionEnd

Function ${UN}UndoValue
  Pop $6
  Pop $7
  Pop $4
  Pop $3
  Pop $2
  Pop $1
  ${If} $6 == ""
    Call ${UN}OpenKey
    System::Call 'advapi32::RegDeleteValueW(p r8, t r3)'
  ${Else}
    Call ${UN}CreateKey
    System::Call 'advapi32::RegSetValueExW(p r8, t r3, i 0, i r4, p r6, i r7)'
  ${EndIf}
  Call ${UN}CloseKey
FunctionEnd

Function ${UN}RemoveValue
  Call ${UN}OpenKey
  ${If} $0 = ${FILE_NOT_FOUND}
    Return
  ${ElseIf} $0 = 0
    Call ${UN}NoteValue
    System::Call 'advapi32::RegDeleteValueW(p r8, t r3) i .r0'
    Call ${UN}CloseKey
  ${EndIf}
  ${If} $0 <> 0
  ${AndIf} $0 <> ${FILE_NOT_FOUND}
    !insertmacro Fail '$(CannotWriteKey)' $0
  ${EndIf}
FunctionEnd

; A key that holds anything stays.
Function ${UN}RemoveKey
  Call ${UN}DeleteKeyIfEmpty
  ${If} $0 = 0
    Push $1
    Push $2
    !insertmacro UndoBy UndoRemovedKey
  ${EndIf}
FunctionEnd

Function ${UN}UndoRemovedKey
  Pop $2
  Pop $1
  Call ${UN}CreateKey
  Call ${UN}CloseKey
FunctionEnd

; Of the class $R7, what AddSurrogate wrote. The class may name another entry by now.
Function ${UN}RemoveSurrogate
  StrCpy $1 ${VIEW_32}
  ReadRegStr $0 HKLM "${CLASSES}\CLSID\$R7" "AppID"
  ${If} $0 == $R7
    StrCpy $2 "${CLASSES}\CLSID\$R7"
    StrCpy $3 "AppID"
    Call ${UN}RemoveValue
  ${EndIf}
  !insertmacro Surrogate Remove
  Call ${UN}RemoveKey
FunctionEnd

; ---- Whole keys, which the DLL writes

Function ${UN}SaveTree
  StrCpy $6 ""
  Call ${UN}OpenKey
  ${If} $0 = 0
    IntOp $SavedTrees $SavedTrees + 1
    StrCpy $6 "${SAVED_TREES}\$SavedTrees"
    System::Call 'advapi32::RegCreateKeyW(p ${HKLM}, t r6, *p .r7) i .r0'
    ${If} $0 = 0
      System::Call 'advapi32::RegCopyTreeW(p r8, p 0, p r7) i .r0'
      System::Call 'advapi32::RegCloseKey(p r7)'
    ${EndIf}
    Call ${UN}CloseKey
    ${If} $0 <> 0
      !insertmacro Fail '$(CannotWriteKey)' $0
    ${EndIf}
  ${EndIf}
  Push $1
  Push $2
  Push $6
  !insertmacro UndoBy UndoTree
FunctionEnd

Function ${UN}UndoTree
  Pop $6
  Pop $2
  Pop $1
  Call ${UN}OpenKey
  ${If} $0 <> 0
  ${AndIf} $6 != ""
    Call ${UN}CreateKey
  ${EndIf}
  System::Call 'advapi32::RegDeleteTreeW(p r8, p 0)'
  ${If} $6 == ""
    Call ${UN}CloseKey
    System::Call 'advapi32::RegDeleteKeyExW(p ${HKLM}, t r2, i r1, i 0)'
    Return
  ${EndIf}
  System::Call 'advapi32::RegOpenKeyW(p ${HKLM}, t r6, *p .r7)'
  System::Call 'advapi32::RegCopyTreeW(p r7, p 0, p r8)'
  System::Call 'advapi32::RegCloseKey(p r7)'
  Call ${UN}CloseKey
FunctionEnd

Function ${UN}DropSavedTrees
  System::Call 'advapi32::RegDeleteTreeW(p ${HKLM}, t "${SAVED_TREES}")'
FunctionEnd

; ---- Files and folders

; A file in use can be renamed but not replaced. What was moved aside is deleted when all steps are done.

Function ${UN}FindNameAside
  StrCpy $0 0
  ${Do}
    IntOp $0 $0 + 1
    StrCpy $R1 "$R0${ASIDE}$0.old"
  ${LoopWhile} ${FileExists} $R1
FunctionEnd

Function ${UN}MoveAside
  StrCpy $Subject $R0
  System::Call 'kernel32::GetFileAttributesW(t R0) i .r0'
  ${If} $0 = -1
    Return
  ${EndIf}
  IntOp $0 $0 & 0x10
  ${If} $0 <> 0
    !insertmacro Fail '$(IsNoFile)' ''
  ${EndIf}
  Call ${UN}FindNameAside
  Push $R0
  Push $R1
  !insertmacro UndoBy UndoMoveAside
  System::Call 'kernel32::MoveFileW(t R0, t R1) i .r1 ?e'
  Pop $0
  ${If} $1 = 0
    !insertmacro Fail '$(CannotMove)' $0
  ${EndIf}
FunctionEnd

Function ${UN}UndoMoveAside
  Pop $R1
  Pop $R0
  System::Call 'kernel32::MoveFileW(t R1, t R0)'
FunctionEnd

; Deletes what was moved aside from $R0, now or by an earlier run: at once, else at the next restart. An uninstaller
; that has just started its copy takes a moment to end.
Function ${UN}DeleteAside
  StrCpy $0 0
  ${DoWhile} ${FileExists} "$R0${ASIDE}*.old"
    ${If} $0 = 10
      Delete /REBOOTOK "$R0${ASIDE}*.old"
      ${ExitDo}
    ${ElseIf} $0 > 0
      Sleep 100
    ${EndIf}
    Delete "$R0${ASIDE}*.old"
    IntOp $0 $0 + 1
  ${Loop}
FunctionEnd

; Removes the folder $R0 if it is empty, now or after the restart that removes what is still in use.
Function ${UN}RemoveFolder
  ClearErrors
  RMDir "$R0"
  ${If} ${Errors}
  ${AndIf} ${RebootFlag}
  ${AndIf} ${FileExists} "$R0"
    RMDir /REBOOTOK "$R0"
  ${EndIf}
FunctionEnd

; Removes the folder $R0 and those above it up to $R1, as far as they are empty.
Function ${UN}RemoveFolders
  ${DoWhile} $R1 != ""
    Call ${UN}RemoveFolder
    ${If} $R0 == $R1
      ${ExitDo}
    ${EndIf}
    ${GetParent} $R0 $R0
  ${LoopUntil} $R0 == ""
FunctionEnd

; ---- Steps that only the setup takes

!if "${UN}" == ""
Function WriteValue
  StrCpy $R3 $2
  StrCpy $R4 0
  ${DoUntil} $R5 == $R3
    Call NextFolder
    StrCpy $2 $R5
    Call OpenKey
    ${If} $0 = 0
      Call CloseKey
    ${ElseIf} $0 = ${FILE_NOT_FOUND}
      StrCpy $MadeKeys "$2|$MadeKeys"
      ${If} $1 = ${VIEW_64}
        StrCpy $MadeKeys "64 $MadeKeys"
      ${EndIf}
      Push $1
      Push $2
      !insertmacro UndoBy UndoMadeKey
    ${EndIf}
  ${Loop}
  StrCpy $R5 ""
  Call CreateKey
  ${If} $0 = 0
    Call NoteValue
    ${If} $4 = 4
      System::Call 'advapi32::RegSetValueExW(p r8, t r3, i 0, i r4, *i r5, i 4) i .r0'
    ${ElseIf} $4 = ${REG_BINARY}
      System::Call 'advapi32::ConvertStringSecurityDescriptorToSecurityDescriptorW(t r5, i 1, *p .r6, *i .r7)'
      System::Call 'advapi32::RegSetValueExW(p r8, t r3, i 0, i r4, p r6, i r7) i .r0'
      System::Call 'kernel32::LocalFree(p r6)'
    ${Else}
      StrLen $6 $5
      IntOp $6 $6 * 2
      IntOp $6 $6 + 2
      System::Call 'advapi32::RegSetValueExW(p r8, t r3, i 0, i r4, t r5, i r6) i .r0'
    ${EndIf}
    Call CloseKey
  ${EndIf}
  ${If} $0 <> 0
    !insertmacro Fail '$(CannotWriteKey)' $0
  ${EndIf}
FunctionEnd

!ifdef WITH_64_BIT
; The component of the ProgID $R6 is reached from 64-bit programs in the system's surrogate process: where it is a
; 32-bit DLL alone and nobody has named a process for it.
Function AddSurrogate
  ReadRegStr $R7 HKLM "${CLASSES}\$R6\CLSID" ""
  ReadRegStr $1 HKLM "${CLASSES}\CLSID\$R7\InprocServer32" ""
  SetRegView 64
  ReadRegStr $2 HKLM "${CLASSES}\CLSID\$R7\InprocServer32" ""
  SetRegView 32
  ClearErrors
  ReadRegStr $3 HKLM "${CLASSES}\CLSID\$R7" "AppID"
  ${If} $R7 == ""
  ${OrIf} $1 == ""
  ${OrIf} $2 != ""
  ${OrIfNot} ${Errors}
    Return
  ${EndIf}
  StrCpy $1 ${VIEW_32}
  StrCpy $2 "${CLASSES}\AppID\$R7"
  Call OpenKey
  ${If} $0 = 0
    Call CloseKey
    Return
  ${EndIf}
  StrCpy $R8 $MadeKeys
  !insertmacro Surrogate Write
  StrCpy $MadeKeys $R8
  !insertmacro Write 32 "${CLASSES}\CLSID\$R7" "AppID" REG_SZ "$R7"
  StrCpy $MadeSurrogates "$R7|$MadeSurrogates"
FunctionEnd
!endif

Function UndoMadeKey
  Pop $2
  Pop $1
  Call DeleteKeyIfEmpty
FunctionEnd

Function MakeFolders
  StrCpy $R3 $INSTDIR
  StrCpy $R4 2
  StrCpy $R5 $R3 3
  Call MakeFolder
  ${DoUntil} $R5 == $R3
    Call NextFolder
    Call MakeFolder
    ${If} $0 <> 0
    ${AndIf} $MadeFolder == ""
      StrCpy $MadeFolder $R5
    ${EndIf}
  ${Loop}
  StrCpy $R5 ""
FunctionEnd

; A drive without rights keeps no folder closed, so those just made are judged as well.
Function RefuseDistrusted
  Call Judge
  ${If} $Distrust != ""
    !insertmacro Fail '$Distrust$(ChooseAnother)' ''
  ${EndIf}
FunctionEnd

; $0 is 0 where the folder $R5 was there.
Function MakeFolder
  StrCpy $Subject $R5
  System::Call 'kernel32::GetFileAttributesW(t R5) i .r0'
  ${If} $0 = -1
    Call CreateClosedFolder
    ${If} $1 = 0
      !insertmacro Fail '$(CannotMakeFolder)' $0
    ${EndIf}
    Push $R5
    !insertmacro UndoBy UndoMadeFolder
    Call RefuseDistrusted
    StrCpy $0 1
    Return
  ${EndIf}
  IntOp $0 $0 & 0x10
  ${If} $0 = 0
    !insertmacro Fail '$(IsNoFolder)' ''
  ${EndIf}
  Call RefuseDistrusted
  StrCpy $0 0
FunctionEnd

Function UndoMadeFolder
  Pop $0
  RMDir $0
FunctionEnd

Function PlaceFile
  Call MoveAside
  Push $R0
  !insertmacro UndoBy UndoNewFile
  System::Call 'kernel32::CopyFileW(t R2, t R0, i 1) i .r1 ?e'
  Pop $0
  ${If} $1 = 0
    !insertmacro Fail '$(CannotWriteFile)' $0
  ${EndIf}
FunctionEnd

Function UndoNewFile
  Pop $R0
  Delete $R0
  ${If} ${FileExists} $R0
    Call FindNameAside
    Rename $R0 $R1
    Delete /REBOOTOK $R1
  ${EndIf}
FunctionEnd
!endif
