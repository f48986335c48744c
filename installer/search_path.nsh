; The machine's search path, in which a prompt finds menuhost. Other programs' entries may make it longer than any text
; of the setup can be, so it is changed where it lies in memory.
;
; Read once for the setup and once for the uninstaller, with UN being the prefix of the latter's functions.
; Registers, beside those of the steps: $R6 the search path's text, $R7 an entry, $R8 where it stands in the text.

!if "${UN}" == ""
!define ENVIRONMENT "SYSTEM\CurrentControlSet\Control\Session Manager\Environment"
!define REG_EXPAND_SZ 2
!define SEMICOLON 59
; Some tools of Windows itself cut a longer one.
!define LONGEST_SEARCH_PATH 2047
!endif

; The text has room for one more entry, and its key $8 is open; $4 is its type. $R6 is 0 where there is none.
Function ${UN}OpenSearchPath
  StrCpy $R6 0
  StrCpy $1 ${VIEW_32}
  StrCpy $2 "${ENVIRONMENT}"
  StrCpy $3 Path
  Call ${UN}OpenKey
  ${If} $0 <> 0
    Return
  ${EndIf}
  System::Call 'advapi32::RegQueryValueExW(p r8, t r3, p 0, *i .r4, p 0, *i .r7) i .r0'
  ${If} $0 = 0
  ${AndIf} $4 >= ${REG_SZ}
  ${AndIf} $4 <= ${REG_EXPAND_SZ}
    IntOp $6 $7 + 4096
    System::Alloc $6
    Pop $R6
    System::Call 'advapi32::RegQueryValueExW(p r8, t r3, p 0, p 0, p R6, *i r7) i .r0'
    ; Another program may have written a longer one meanwhile, of which nothing was read.
    ${If} $0 <> 0
      Call ${UN}CloseSearchPath
      StrCpy $R6 0
    ${EndIf}
  ${Else}
    Call ${UN}CloseKey
  ${EndIf}
FunctionEnd

Function ${UN}CloseSearchPath
  Call ${UN}CloseKey
  System::Free $R6
FunctionEnd

Function ${UN}WriteSearchPath
  System::Call 'kernel32::lstrlenW(p R6) i .r5'
  IntOp $5 $5 * 2
  IntOp $5 $5 + 2
  System::Call 'advapi32::RegSetValueExW(p r8, t r3, i 0, i r4, p R6, i r5) i .r0'
  Call ${UN}CloseSearchPath
  ${If} $0 <> 0
    !insertmacro Fail '$(CannotWriteKey)' $0
  ${EndIf}
FunctionEnd

; $R8 is 0 where the whole entry is not there.
Function ${UN}FindEntry
  StrLen $6 $R7
  IntOp $6 $6 * 2
  StrCpy $R8 $R6
  ${Do}
    System::Call 'shlwapi::StrStrIW(p R8, t R7) p .R8'
    ${If} $R8 = 0
      Return
    ${EndIf}
    StrCpy $9 ${SEMICOLON}
    ${If} $R8 <> $R6
      IntOp $0 $R8 - 2
      System::Call '*$0(&i2 .r9)'
    ${EndIf}
    IntOp $0 $R8 + $6
    System::Call '*$0(&i2 .r7)'
    ${If} $7 = 0
      StrCpy $7 ${SEMICOLON}
    ${EndIf}
    ${If} $9 = ${SEMICOLON}
    ${AndIf} $7 = ${SEMICOLON}
      Return
    ${EndIf}
    IntOp $R8 $R8 + 2
  ${Loop}
FunctionEnd

; Takes out just what was appended, wherever it stands by now.
Function ${UN}RemoveFromSearchPath
  ${If} $OldMadePath == ""
    Return
  ${EndIf}
  StrCpy $R7 $OldMadePath
  StrCpy $5 $R7 1
  ${If} $5 == ";"
    StrCpy $R7 $R7 "" 1
  ${EndIf}
  Call ${UN}OpenSearchPath
  ${If} $R6 = 0
    Return
  ${EndIf}
  Call ${UN}FindEntry
  ${If} $R8 = 0
    Call ${UN}CloseSearchPath
    Return
  ${EndIf}
  Call ${UN}NoteValue
  StrLen $6 $R7
  IntOp $6 $6 * 2
  IntOp $6 $6 + $R8
  ${If} $5 == ";"
  ${AndIf} $R8 <> $R6
    IntOp $R8 $R8 - 2
  ${Else}
    System::Call '*$6(&i2 .r7)'
    ${If} $7 = ${SEMICOLON}
      IntOp $6 $6 + 2
    ${EndIf}
  ${EndIf}
  System::Call 'kernel32::lstrlenW(p r6) i .r7'
  IntOp $7 $7 * 2
  IntOp $7 $7 + 2
  System::Call 'kernel32::RtlMoveMemory(p R8, p r6, i r7)'
  Call ${UN}WriteSearchPath
FunctionEnd

; Prompts that are opened from now on know it, as far as the window that opens them listens.
Function ${UN}TellSearchPath
  System::Call 'user32::SendMessageTimeoutW(p 0xFFFF, i 0x1A, p 0, t "Environment", i 2, i 1000, p 0)'
FunctionEnd

!if "${UN}" == ""
; The services of the machine search this path too, so a folder that other people can write to must not get in: only
; administrators can write below Program Files.
Function AddToSearchPath
  StrCpy $R7 "$INSTDIR$Folder64"
  StrLen $0 "$PROGRAMFILES32\"
  StrCpy $0 $R7 $0
  StrLen $1 "$PROGRAMFILES64\"
  StrCpy $1 $R7 $1
  ${If} $0 != "$PROGRAMFILES32\"
  ${AndIf} $1 != "$PROGRAMFILES64\"
    Return
  ${EndIf}
  System::Call 'shlwapi::StrPBrkW(t R7, t ";%") p .r0'
  ${If} $0 <> 0
    Return
  ${EndIf}
  Call OpenSearchPath
  ${If} $R6 = 0
    Return
  ${EndIf}
  System::Call 'kernel32::lstrlenW(p R6) i .r5'
  StrCpy $MadePath $R7
  ${If} $5 <> 0
    IntOp $0 $5 * 2
    IntOp $0 $0 + $R6
    IntOp $0 $0 - 2
    System::Call '*$0(&i2 .r0)'
    ${If} $0 <> ${SEMICOLON}
      StrCpy $MadePath ";$R7"
    ${EndIf}
  ${EndIf}
  StrLen $0 $MadePath
  IntOp $5 $5 + $0
  Call FindEntry
  ${If} $R8 = 0
    StrCpy $R7 "$R7\"
    Call FindEntry
  ${EndIf}
  ${If} $R8 <> 0
  ${OrIf} $5 > ${LONGEST_SEARCH_PATH}
    StrCpy $MadePath ""
    Call CloseSearchPath
    Return
  ${EndIf}
  Call NoteValue
  StrCpy $R7 $MadePath
  System::Call 'kernel32::lstrcatW(p R6, t R7)'
  Call WriteSearchPath
FunctionEnd
!endif
