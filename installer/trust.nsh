; Whom the machine's folders belong to. What all users' programs load, and what the setup itself runs, must not be for
; anybody but the administrators and the system to change: the setup's own folders are closed from the moment that they
; are made, and what was there before is judged.
;
; Read once for the setup and once for the uninstaller, with UN being the prefix of the latter's functions.
; Registers: $R3 a path, $R4 and $R5 its part down to a folder; all numbered ones change.

!if "${UN}" == ""
!define SYSTEM_AND_ADMINISTRATORS "O:BAG:SYD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)"
!define USERS_READ "(A;OICI;0x1200A9;;;BU)"
!define PACKAGES_READ "(A;OICI;0x1200A9;;;S-1-15-2-1)"
; The system, the administrators, the installer of Windows, and who has made a file, which will be one of them.
!define ALWAYS_TRUSTED "|S-1-5-18|S-1-5-32-544|S-1-3-0|S-1-3-1|S-1-3-4|\
S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464|"
; To make, write, rename or delete anything in a folder, or the folder itself, or to change its rights or make it a
; link. In the root of a drive people may make folders: these cannot be ours, as making one that is there fails.
!define CHANGING 0x500D0156
!define CHANGING_ROOT 0x100C0040
; In the setup's own folder for temporary files, everybody may delete. A file that is gone makes the setup fail.
!define CHANGING_UNPACKED 0x500D0116
!define INHERITED_ONLY 8
!define LINK 0x400
!define OWNER_AND_RIGHTS 5
!define LOCK "$WINDIR\Norvak Context Menu Setup.lock"

; A step of its own for each folder or file that must be trusted.
!macro Judge PATH
  StrCpy $R5 "${PATH}"
  Call ${UN}Judge
!macroend
!endif

; The part of $R3 up to its next backslash behind the first $R4 characters, into $R5.
Function ${UN}NextFolder
  ${Do}
    IntOp $R4 $R4 + 1
    StrCpy $R5 $R3 1 $R4
    ${If} $R5 == "\"
    ${OrIf} $R5 == ""
      ${ExitDo}
    ${EndIf}
  ${Loop}
  StrCpy $R5 $R3 $R4
FunctionEnd

; The text of the SID $4, between two "|".
Function ${UN}NameSid
  System::Call 'advapi32::ConvertSidToStringSidW(p r4, *p .r5)'
  System::Call 'kernel32::lstrcpyW(t .r4, p r5)'
  System::Call 'kernel32::LocalFree(p r5)'
  StrCpy $4 "|$4|"
FunctionEnd

; Whoever owns the system's programs can do everything anyway.
Function ${UN}TrustSystem
  StrCpy $Trusted ""
  System::Call 'advapi32::GetNamedSecurityInfoW(t "$SYSDIR", i 1, i ${OWNER_AND_RIGHTS}, *p .r4, p 0, p 0, p 0, \
    *p .r3) i .r0'
  ${If} $0 = 0
    Call ${UN}NameSid
    System::Call 'kernel32::LocalFree(p r3)'
    StrCpy $Trusted $4
  ${EndIf}
  StrCpy $Trusted "${ALWAYS_TRUSTED}$Trusted"
FunctionEnd

; The person whose folder for temporary files it is may change what is there.
Function ${UN}TrustUser
  System::Call 'advapi32::OpenProcessToken(p -1, i 8, *p .r1)'
  System::Alloc 256
  Pop $2
  System::Call 'advapi32::GetTokenInformation(p r1, i 1, p r2, i 256, *i)'
  System::Call '*$2(p .r4)'
  Call ${UN}NameSid
  StrCpy $Trusted "$Trusted$4"
  System::Free $2
  System::Call 'kernel32::CloseHandle(p r1)'
FunctionEnd

; Fills $Distrust for the file or folder $R5, whose parents are judged before it: what nobody else can replace is the
; same thing a moment later.
Function ${UN}Judge
  StrCpy $Subject $R5
  StrCpy $Distrust ""
  StrLen $0 $R5
  ${If} $0 = 3
    StrCpy $6 ${CHANGING_ROOT}
  ${Else}
    StrCpy $6 ${CHANGING}
    ${If} $R5 == $PLUGINSDIR
      StrCpy $6 ${CHANGING_UNPACKED}
    ${EndIf}
    System::Call 'kernel32::GetFileAttributesW(t R5) i .r0'
    IntOp $1 $0 & ${LINK}
    ${If} $0 <> -1
    ${AndIf} $1 <> 0
      StrCpy $Distrust '$(IsLink)'
      Return
    ${EndIf}
  ${EndIf}
  System::Call 'advapi32::GetNamedSecurityInfoW(t R5, i 1, i ${OWNER_AND_RIGHTS}, *p .r4, p 0, *p .r2, p 0, \
    *p .r3) i .r0'
  ${If} $0 <> 0
    StrCpy $Distrust '$(UnknownRights)'
    Return
  ${EndIf}
  Call ${UN}NameSid
  System::Call 'shlwapi::StrStrW(t "$Trusted", t r4) p .r0'
  ${If} $0 = 0
    StrCpy $Distrust '$(OtherOwner)'
  ${Else}
    Call ${UN}JudgeRights
  ${EndIf}
  System::Call 'kernel32::LocalFree(p r3)'
FunctionEnd

; The access list $2, of which nobody else must have any right of $6. Without a list, everybody has all of them.
Function ${UN}JudgeRights
  StrCpy $7 0
  ${If} $2 = 0
    StrCpy $Distrust '$(OtherWriters)'
  ${Else}
    System::Call '*$2(i, &i2 .r7)'
  ${EndIf}
  StrCpy $8 0
  ${DoWhile} $8 < $7
    System::Call 'advapi32::GetAce(p r2, i r8, *p .r9)'
    System::Call '*$9(&i1 .r1, &i1 .r5, &i2, i .r0)'
    IntOp $4 $9 + 8
    IntOp $0 $0 & $6
    IntOp $5 $5 & ${INHERITED_ONLY}
    IntOp $8 $8 + 1
    ; What is denied, with or without a condition; an entry of neither sort is one that no folder has.
    ${If} $1 = 1
    ${OrIf} $1 = 10
    ${OrIf} $0 = 0
      ${Continue}
    ${ElseIf} $5 <> 0
    ${AndIf} $6 = ${CHANGING_ROOT}
      ${Continue}
    ${EndIf}
    StrCpy $0 0
    ${If} $1 = 0
    ${OrIf} $1 = 9
      Call ${UN}NameSid
      System::Call 'shlwapi::StrStrW(t "$Trusted", t r4) p .r0'
    ${EndIf}
    ${If} $0 = 0
      StrCpy $Distrust '$(OtherWriters)'
    ${EndIf}
  ${Loop}
FunctionEnd

; Judges $R3 and the folders above it, from the root down, as far as they are trusted.
Function ${UN}JudgePath
  StrCpy $R4 2
  StrCpy $R5 $R3 3
  ${Do}
    Call ${UN}Judge
    ${If} $Distrust != ""
    ${OrIf} $R5 == $R3
      ${ExitDo}
    ${EndIf}
    Call ${UN}NextFolder
  ${Loop}
FunctionEnd

; What was unpacked into the setup's own folder is about to be run with an administrator's rights.
Function ${UN}JudgeUnpacked
  Call ${UN}TrustUser
  !insertmacro Judge $PLUGINSDIR
  ${If} $Distrust != ""
    !insertmacro Fail '$Distrust$(OwnTemporary)' ''
  ${EndIf}
  Call ${UN}TrustSystem
FunctionEnd

; $5 becomes what makes a file or folder with the rights $5, to be freed by DropRights.
Function ${UN}MakeRights
  System::Call 'advapi32::ConvertStringSecurityDescriptorToSecurityDescriptorW(t r5, i 1, *p .r4, p 0)'
  System::Call '*(i 12, p r4, i 0) p .r5'
FunctionEnd

Function ${UN}DropRights
  System::Call 'kernel32::LocalFree(p r4)'
  System::Free $5
FunctionEnd

!if "${UN}" == ""
; Makes the folder $R5, which nobody else can change from the beginning; $1 is 0 where that fails, with the status $0.
Function CreateClosedFolder
  StrCpy $5 "${SYSTEM_AND_ADMINISTRATORS}${USERS_READ}"
  ${If} ${AtLeastWin8}
    StrCpy $5 "$5${PACKAGES_READ}"
  ${EndIf}
  Call MakeRights
  System::Call 'kernel32::CreateDirectoryW(t R5, p r5) i .r1 ?e'
  Pop $0
  Call DropRights
FunctionEnd
!endif

; One setup at a time: while a file that only administrators can make, and nobody else can open, is held. An object that
; anybody can make under its name would keep all setups out.
Function ${UN}Lock
  StrCpy $Subject "${LOCK}"
  StrCpy $5 "${SYSTEM_AND_ADMINISTRATORS}"
  Call ${UN}MakeRights
  ; For writing and deleting, with nobody beside it, there or not, and gone with this process.
  System::Call 'kernel32::CreateFileW(t "$Subject", i 0x40010000, i 0, p r5, i 4, i 0x04000000, p 0) p .r1 ?e'
  Pop $0
  Call ${UN}DropRights
  ${If} $1 = -1
    ${If} $0 = 32
      !insertmacro Fail '$(IsRunning)' ''
    ${EndIf}
    !insertmacro Fail '$(CannotWriteFile)' $0
  ${EndIf}
FunctionEnd
