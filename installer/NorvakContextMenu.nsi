; The setup of the Norvak Context Menu, for all users of a machine. scripts/package builds it. A 64-bit Windows gets
; the 32-bit build and, in the folder x64 or arm64, that for its processor; a 32-bit Windows the former alone.
;
;   setup.exe                     asks for the folder and shows what happens
;   setup.exe /S [/D=C:\Program Files\Folder]   installs or upgrades without a question; /D comes last, without quotes
;   setup.exe /WIN11              the first menu of Windows 11 has the items too; later setups keep that until /NOWIN11
;   setup.exe /remove             uninstalls without a question, and waits until it is done
;   Uninstall.exe [/S]            uninstalls; returns at once, while a copy of it goes on
;   Uninstall.exe /S _?=FOLDER    the same in its own process, which is waited for but cannot delete itself
;   either of them with /?        shows what it takes
;
; Exit status:
;      0   done
;      1   cancelled by the user
;      2   failed or not understood, and everything is as it was; without a question, one sentence on the standard error
;          output says why
;   3010   done, but a file in use is removed only by the next restart of the machine
Unicode true
ManifestSupportedOS all
ManifestDPIAware true
RequestExecutionLevel admin
SetCompressor /SOLID lzma

!define PRODUCT "Norvak Context Menu"
!define CLASS "{2E416DA3-34E8-444A-8288-8C2FF373681D}"
!define LIBRARY "{60B0373E-C543-4525-A664-E9D775E867D8}"
!define INTERFACE "{595D7E94-9B83-4CFD-98CC-0312978C2BC0}"
!define CLASSES "Software\Classes"
!define HANDLER "shellex\ContextMenuHandlers\Norvak"
!define WINDOWS "Software\Microsoft\Windows\CurrentVersion"
!define APPS "${WINDOWS}\Uninstall\${PRODUCT}"

; A registry view and the program that registers a DLL in it.
!define VIEW_32 0x200
!define VIEW_64 0x100
!define REGSVR_32 "$SYSDIR\regsvr32.exe"
!define REGSVR_64 "$WINDIR\Sysnative\regsvr32.exe"
!define REG_SZ 1
!define REG_BINARY 3
!define REG_DWORD 4

; ---- The product: its files, its DLLs that register themselves, the keys that these write, and all other values

; A name that a release has had stays in the lists, so that later ones remove it.
!macro Subfolders STEP
  !insertmacro ForProcessor x64 ${STEP} x64
  !insertmacro ForProcessor arm64 ${STEP} arm64
  !insertmacro ${STEP} docs
  !insertmacro ${STEP} policies
  !insertmacro ${STEP} "policies\de-DE"
  !insertmacro ${STEP} "policies\en-US"
!macroend

!macro BuiltFiles STEP
  !insertmacro ${STEP} NorvakContextMenu.dll
  !insertmacro ${STEP} menuhost.exe
  !insertmacro ForProcessor x64 ${STEP} "x64\NorvakContextMenu.dll"
  !insertmacro ForProcessor x64 ${STEP} "x64\menuhost.exe"
  !insertmacro ForProcessor arm64 ${STEP} "arm64\NorvakContextMenu.dll"
  !insertmacro ForProcessor arm64 ${STEP} "arm64\menuhost.exe"
  !insertmacro ${STEP} "docs\administrators.html"
  !insertmacro ${STEP} "docs\menuhost.html"
  !insertmacro ${STEP} "docs\settings.html"
  !insertmacro Template ${STEP} NorvakContextMenu
  !insertmacro Template ${STEP} NorvakContextMenu-64
!macroend

; What the package for the first menu of Windows 11 is registered with. Windows changes the rights of that folder.
!macro Windows11Files STEP
  !insertmacro For64Bit ${STEP} "win11\NorvakContextMenu.dll"
  !insertmacro For64Bit ${STEP} "win11\menuhost.exe"
  !insertmacro For64Bit ${STEP} "win11\NorvakContextMenu.msix"
!macroend

!macro Template STEP NAME
  !insertmacro ${STEP} "policies\${NAME}.admx"
  !insertmacro ${STEP} "policies\de-DE\${NAME}.adml"
  !insertmacro ${STEP} "policies\en-US\${NAME}.adml"
!macroend

!macro Files STEP
  !insertmacro BuiltFiles ${STEP}
  !insertmacro ${STEP} Uninstall.exe
!macroend

; Programs for x64 that an ARM64 Windows emulates share the view of its own programs, and a class has one DLL there: its
; Explorer's.
!macro Servers STEP
  !insertmacro ${STEP} 32 NorvakContextMenu.dll
  !insertmacro ForProcessor x64 ${STEP} '64 "x64\NorvakContextMenu.dll"'
  !insertmacro ForProcessor arm64 ${STEP} '64 "arm64\NorvakContextMenu.dll"'
!macroend

; Each server writes the interface into both views; the other keys are those of its own view or stand in both.
!macro ServerKeys STEP
  !insertmacro ${STEP} 32 "${CLASSES}\CLSID\${CLASS}"
  !insertmacro ${STEP} 32 "${CLASSES}\NorvakContextMenu.ShellExt"
  !insertmacro ${STEP} 32 "${CLASSES}\TypeLib\${LIBRARY}"
  !insertmacro ${STEP} 32 "${CLASSES}\Interface\${INTERFACE}"
  !insertmacro For64Bit ${STEP} '64 "${CLASSES}\CLSID\${CLASS}"'
  !insertmacro For64Bit ${STEP} '64 "${CLASSES}\Interface\${INTERFACE}"'
!macroend

; The suite's components that are DLLs: the macro `Components`, of the list that the product itself works with.
!include "${COMPONENTS}"

!macro Values STEP
  !insertmacro ${STEP} 32 "${CLASSES}\*\${HANDLER}" "" REG_SZ "${CLASS}"
  !insertmacro ${STEP} 32 "${CLASSES}\Directory\${HANDLER}" "" REG_SZ "${CLASS}"
  !insertmacro ${STEP} 32 "${CLASSES}\Drive\${HANDLER}" "" REG_SZ "${CLASS}"
  !insertmacro ${STEP} 32 "${WINDOWS}\Shell Extensions\Approved" "${CLASS}" REG_SZ "${PRODUCT}"
  !insertmacro For64Bit ${STEP} '64 "${WINDOWS}\Shell Extensions\Approved" "${CLASS}" REG_SZ "${PRODUCT}"'
  !insertmacro ${STEP} 32 "${APPS}" "DisplayName" REG_SZ "${PRODUCT}"
  !insertmacro ${STEP} 32 "${APPS}" "DisplayVersion" REG_SZ "${VERSION}"
  !insertmacro ${STEP} 32 "${APPS}" "Publisher" REG_SZ "Norvak"
  !insertmacro ${STEP} 32 "${APPS}" "DisplayIcon" REG_SZ "$INSTDIR\Uninstall.exe"
  !insertmacro ${STEP} 32 "${APPS}" "HelpLink" REG_SZ "$INSTDIR\docs\administrators.html"
  !insertmacro ${STEP} 32 "${APPS}" "InstallLocation" REG_SZ "$INSTDIR"
  !insertmacro ${STEP} 32 "${APPS}" "UninstallString" REG_SZ '"$INSTDIR\Uninstall.exe"'
  !insertmacro ${STEP} 32 "${APPS}" "QuietUninstallString" REG_SZ '"$INSTDIR\Uninstall.exe" /S'
  !insertmacro ${STEP} 32 "${APPS}" "EstimatedSize" REG_DWORD "$Size"
  !insertmacro ${STEP} 32 "${APPS}" "NoModify" REG_DWORD 1
  !insertmacro ${STEP} 32 "${APPS}" "NoRepair" REG_DWORD 1
  ; What was not there before, so that just this goes again.
  !insertmacro ${STEP} 32 "${APPS}" "MadeFolder" REG_SZ "$MadeFolder"
  !insertmacro ${STEP} 32 "${APPS}" "MadeSubfolders" REG_SZ "$MadeSubfolders"
  !insertmacro ${STEP} 32 "${APPS}" "MadePath" REG_SZ "$MadePath"
  !insertmacro ${STEP} 32 "${APPS}" "MadeKeys" REG_SZ "$MadeKeys"
  !insertmacro For64Bit ${STEP} '32 "${APPS}" "MadeSurrogates" REG_SZ "$MadeSurrogates"'
!macroend

; The doctor reads them too.
!macro Windows11Values STEP
  !insertmacro ${STEP} 32 "${APPS}" "Windows11Folder" REG_SZ "$INSTDIR\win11"
  !insertmacro ${STEP} 32 "${APPS}" "Windows11Package" REG_SZ "$Windows11Package"
!macroend

; Of the class $R7. Its process is for the people at this machine, the administrators and the system: to be started by
; them, and called by them and by itself, from this machine alone.
!macro Surrogate STEP
  !insertmacro ${STEP} 32 "${CLASSES}\AppID\$R7" "DllSurrogate" REG_SZ ""
  !insertmacro ${STEP} 32 "${CLASSES}\AppID\$R7" "LaunchPermission" REG_BINARY \
    "O:BAG:BAD:(A;;CCDCSW;;;SY)(A;;CCDCSW;;;BA)(A;;CCDCSW;;;IU)"
  !insertmacro ${STEP} 32 "${CLASSES}\AppID\$R7" "AccessPermission" REG_BINARY \
    "O:BAG:BAD:(A;;CCDC;;;SY)(A;;CCDC;;;BA)(A;;CCDC;;;IU)(A;;CCDC;;;PS)"
!macroend

; What only a 64-bit Windows gets, or one for such a processor. A folder of built files that has no part for it makes a
; setup without one.
!if /FileExists "${BUILD}/x64/NorvakContextMenu.dll"
  !define WITH_64_BIT
!endif
!if /FileExists "${BUILD}/arm64/NorvakContextMenu.dll"
  !define WITH_ARM64
!endif
!macro For64Bit STEP ARGUMENTS
  !ifdef WITH_64_BIT
    ${If} $Folder64 != ""
      !insertmacro ${STEP} ${ARGUMENTS}
    ${EndIf}
  !endif
!macroend
!macro ForProcessor FOLDER STEP ARGUMENTS
  !if /FileExists "${BUILD}/${FOLDER}/NorvakContextMenu.dll"
    ${If} $Folder64 == "\${FOLDER}"
      !insertmacro ${STEP} ${ARGUMENTS}
    ${EndIf}
  !endif
!macroend

Var Failure
Var Subject
Var SavedTrees
Var Folder64      ; of the build for a 64-bit Windows below the folder of the product, or empty
Var MadeKeys      ; each followed by "|", subkeys before their parents; those of the 64-bit view begin with "64 "
Var MadeSurrogates  ; the classes that a surrogate process was named for, each followed by "|"
Var MadeFolder    ; the topmost, down to that of the product
Var MadeSubfolders  ; those below it, each followed by "|", the lower before the upper ones
Var MadePath      ; what was appended to the machine's search path
Var OldFolder     ; of the installed version, or empty
Var Left          ; says why that folder is left as it is: it is not trusted, so nothing is run or deleted there
Var Trusted       ; who may change what is trusted, each between two "|"
Var Distrust      ; why the last judged folder is not trusted, or empty
Var OldMadeKeys
Var OldMadeSurrogates
Var OldMadeFolder
Var OldMadeSubfolders
Var OldMadePath
Var Size          ; in bytes, then in kilobytes

!include LogicLib.nsh
!include FileFunc.nsh
!include WordFunc.nsh
!include x64.nsh
!include WinVer.nsh
!include MUI2.nsh

Name "${PRODUCT}"
OutFile "${SETUP}"
BrandingText "${PRODUCT} ${VERSION}"
ShowInstDetails nevershow
ShowUninstDetails nevershow
VIProductVersion "${NUMBERS}"
VIAddVersionKey ProductName "${PRODUCT}"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey FileDescription "${PRODUCT} Setup"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey CompanyName "Norvak"
VIAddVersionKey LegalCopyright "Norvak"

; The framework packs the picture, whose time is that of the checkout.
SetDateSave off
!define MUI_ICON setup.ico
!define MUI_UNICON setup.ico
!define MUI_WELCOMEFINISHPAGE_BITMAP setup.bmp
!define MUI_ABORTWARNING
; The framework's own texts have other programs closed and the machine restarted, of which nothing is needed here.
!define MUI_WELCOMEPAGE_TEXT "$(Welcome)"
!define MUI_FINISHPAGE_TEXT "$(Installed)"
!define MUI_FINISHPAGE_TEXT_REBOOT "$(Installed)$\r$\n$\r$\n$(FileInUse)"
!define MUI_FINISHPAGE_REBOOTLATER_DEFAULT
!define MUI_UNCONFIRMPAGE_TEXT_TOP "$(Goodbye)"
!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_DIRECTORY
!ifdef WITH_64_BIT
  Page custom AskFirstMenu ReadFirstMenu
!endif
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English
!insertmacro MUI_LANGUAGE German
!include texts.nsh
SetDateSave on

; ---- The lists' entries as steps

!macro Unpack FILE
  File "/oname=$PLUGINSDIR\${FILE}" "${BUILD}\${FILE}"
!macroend

!macro UnpackArm64 FILE
  File "/oname=$PLUGINSDIR\${FILE}" "${BUILD}\arm64\${FILE}"
!macroend

; The package's files lie in the same folder on every Windows, and are those for its processor.
!macro UnpackForFirstMenu FILE
  !insertmacro ForProcessor x64 Unpack ${FILE}
  !insertmacro ForProcessor arm64 UnpackArm64 ${FILE}
!macroend

!macro UnpackServer VIEW FILE
  !insertmacro Unpack ${FILE}
!macroend

!macro Place FILE
  StrCpy $R0 "$INSTDIR\${FILE}"
  StrCpy $R2 "$PLUGINSDIR\${FILE}"
  Call PlaceFile
!macroend

!macro MakeSubfolder NAME
  StrCpy $R5 "$INSTDIR\${NAME}"
  Call MakeFolder
  ; What an earlier version has made here goes with this one.
  ${If} $0 = 0
  ${AndIf} $OldFolder == $INSTDIR
    ClearErrors
    ${WordFind} "|$OldMadeSubfolders" "|" "E/${NAME}" $1
    ${IfNot} ${Errors}
      StrCpy $0 1
    ${EndIf}
  ${EndIf}
  ${If} $0 <> 0
    StrCpy $MadeSubfolders "${NAME}|$MadeSubfolders"
  ${EndIf}
!macroend

!macro UnpackFolder NAME
  CreateDirectory "$PLUGINSDIR\${NAME}"
!macroend

; What is to be loaded, renamed or deleted must be just the administrators'. What is not there is no matter, but for the
; folder itself, which anybody might make just now.
!macro JudgeOld NAME
  ${If} $Distrust == ""
  ${AndIf} ${FileExists} "$OldFolder\${NAME}"
    !insertmacro Judge "$OldFolder\${NAME}"
  ${EndIf}
!macroend

!macro JudgeOldServer VIEW FILE
  !insertmacro JudgeOld "${FILE}"
!macroend

!macro JudgeOldFolder
  StrCpy $R3 $OldFolder
  Call ${UN}JudgePath
  !insertmacro Subfolders JudgeOld
  !insertmacro JudgeOld win11
  !insertmacro Servers JudgeOldServer
  StrCpy $Left ""
  ${If} $Distrust != ""
    StrCpy $Left '$(LeftFiles)'
  ${EndIf}
!macroend

!macro RemoveOldFolders
  ${DoUntil} $OldMadeSubfolders == ""
    ${WordFind} $OldMadeSubfolders "|" "+1" $R0
    StrLen $0 "$R0|"
    StrCpy $OldMadeSubfolders $OldMadeSubfolders "" $0
    StrCpy $R0 "$OldFolder\$R0"
    Call ${UN}RemoveFolder
  ${Loop}
  StrCpy $R0 $OldFolder
  StrCpy $R1 $OldMadeFolder
  Call ${UN}RemoveFolders
!macroend

!macro AddSize FILE
  FileOpen $0 "$INSTDIR\${FILE}" r
  FileSeek $0 0 END $1
  FileClose $0
  IntOp $Size $Size + $1
!macroend

!macro MoveOldAside FILE
  StrCpy $R0 "$OldFolder\${FILE}"
  Call ${UN}MoveAside
!macroend

!macro DeleteOld FILE
  StrCpy $R0 "$OldFolder\${FILE}"
  Call ${UN}DeleteAside
!macroend

!macro DeleteReplaced FILE
  StrCpy $R0 "$INSTDIR\${FILE}"
  Call DeleteAside
!macroend

!macro SaveTree VIEW KEY
  StrCpy $1 ${VIEW_${VIEW}}
  StrCpy $2 "${KEY}"
  Call ${UN}SaveTree
!macroend

!macro RunServer VIEW OPTIONS FILE
  StrCpy $Subject "${FILE}"
  StrCpy $0 -1
  ExecWait '"${REGSVR_${VIEW}}" ${OPTIONS} "$Subject"' $0
!macroend

!macro Register VIEW FILE
  !insertmacro ServerKeys SaveTree
  !insertmacro RunServer ${VIEW} "/s" "$INSTDIR\${FILE}"
  ${If} $0 <> 0
    !insertmacro Fail '$(CannotRegister)' ''
  ${EndIf}
  SetRegView ${VIEW}
  ReadRegStr $1 HKLM "${CLASSES}\CLSID\${CLASS}\InprocServer32" ""
  SetRegView 32
  System::Call 'kernel32::GetLongPathNameW(t r1, t .r1, i ${NSIS_MAX_STRLEN})'
  System::Call 'kernel32::GetLongPathNameW(t "$Subject", t .r2, i ${NSIS_MAX_STRLEN})'
  ${If} $1 != $2
    !insertmacro Fail '$(IsNotRegistered)' ''
  ${EndIf}
!macroend

; The installed DLL knows best what it wrote. Where it is gone, broken or not to be trusted, the one that was brought
; along does it, and registers first: what is left of a registration cannot be taken back, only a whole one can.
!macro Unregister VIEW FILE
  !insertmacro ServerKeys SaveTree
  StrCpy $0 -1
  ${If} $Left == ""
    !insertmacro RunServer ${VIEW} "/s /u" "$OldFolder\${FILE}"
  ${EndIf}
  ${If} $0 <> 0
    !insertmacro RunServer ${VIEW} "/s" "$PLUGINSDIR\${FILE}"
    !insertmacro RunServer ${VIEW} "/s /u" "$PLUGINSDIR\${FILE}"
  ${EndIf}
  ${If} $0 <> 0
    !insertmacro Fail '$(CannotUnregister)' ''
  ${EndIf}
!macroend

!macro Write VIEW KEY NAME TYPE DATA
  StrCpy $1 ${VIEW_${VIEW}}
  StrCpy $2 "${KEY}"
  StrCpy $3 "${NAME}"
  StrCpy $4 ${${TYPE}}
  StrCpy $5 '${DATA}'
  Call WriteValue
!macroend

!macro Remove VIEW KEY NAME TYPE DATA
  StrCpy $1 ${VIEW_${VIEW}}
  StrCpy $2 "${KEY}"
  StrCpy $3 "${NAME}"
  Call ${UN}RemoveValue
!macroend

!macro AddSurrogate PROGID
  StrCpy $R6 ${PROGID}
  Call AddSurrogate
!macroend

!macro RemoveOldVersion
  !insertmacro JudgeOldFolder
  !insertmacro Servers Unregister
  ${DoUntil} $OldMadeSurrogates == ""
    ${WordFind} $OldMadeSurrogates "|" "+1" $R7
    StrLen $0 "$R7|"
    StrCpy $OldMadeSurrogates $OldMadeSurrogates "" $0
    Call ${UN}RemoveSurrogate
  ${Loop}
  Call ${UN}RemoveFromSearchPath
  !insertmacro Values Remove
  !insertmacro Windows11Values Remove
  ${DoUntil} $OldMadeKeys == ""
    ${WordFind} $OldMadeKeys "|" "+1" $2
    StrLen $0 "$2|"
    StrCpy $OldMadeKeys $OldMadeKeys "" $0
    StrCpy $1 ${VIEW_32}
    StrCpy $0 $2 3
    ${If} $0 == "64 "
      StrCpy $1 ${VIEW_64}
      StrCpy $2 $2 "" 3
    ${EndIf}
    Call ${UN}RemoveKey
  ${Loop}
  Call ${UN}RemoveOldPackage
  ${If} $Left == ""
    !insertmacro Files MoveOldAside
    !insertmacro Windows11Files MoveOldAside
  ${EndIf}
!macroend

!macro Finish
  Call ${UN}DropSavedTrees
  System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'
  ${If} $MadePath != $OldMadePath
    Call ${UN}TellSearchPath
  ${EndIf}
  ${If} ${RebootFlag}
    SetErrorLevel 3010
  ${EndIf}
  ${If} $Left != ""
  ${AndIf} ${FileExists} $OldFolder
    StrCpy $R9 $Left
    Call ${UN}AddNote
  ${EndIf}
  ${If} $Note != ""
    StrCpy $Failure $Note
    ${If} ${Silent}
      Call ${UN}WriteFailure
    ${Else}
      MessageBox MB_OK|MB_ICONINFORMATION $Note
    ${EndIf}
  ${EndIf}
!macroend

!macro Start
  Push "begin"
  UserInfo::GetAccountType
  Pop $0
  ${If} $0 != "Admin"
    !insertmacro Fail '$(NeedsAdministrator)' ''
  ${EndIf}
  Call ${UN}Lock
  Call ${UN}TrustSystem
  ReadRegStr $OldFolder HKLM "${APPS}" "InstallLocation"
  ReadRegStr $OldMadeFolder HKLM "${APPS}" "MadeFolder"
  ReadRegStr $OldMadeSubfolders HKLM "${APPS}" "MadeSubfolders"
  ReadRegStr $OldMadePath HKLM "${APPS}" "MadePath"
  ReadRegStr $OldMadeKeys HKLM "${APPS}" "MadeKeys"
  ReadRegStr $OldMadeSurrogates HKLM "${APPS}" "MadeSurrogates"
  ReadRegStr $OldWindows11Folder HKLM "${APPS}" "Windows11Folder"
  ReadRegStr $OldWindows11Package HKLM "${APPS}" "Windows11Package"
  StrCpy $Folder64 ""
  StrCpy $MadeSurrogates ""
  !ifdef WITH_64_BIT
    ${If} ${IsNativeAMD64}
      StrCpy $Folder64 "\x64"
    ${EndIf}
  !endif
  !ifdef WITH_ARM64
    ; Windows writes it down for all its programs, whatever they are emulated on.
    ReadRegStr $0 HKLM "System\CurrentControlSet\Control\Session Manager\Environment" "PROCESSOR_ARCHITECTURE"
    ${If} $0 == "ARM64"
      StrCpy $Folder64 "\arm64"
    ${EndIf}
  !endif
!macroend

; ---- The setup

!define UN ""
!include steps.nsh
!include trust.nsh
!include search_path.nsh
!include windows11.nsh
!include words.nsh

; The folder that the command line names, as it stands there, in quotes or not. What arrives in $INSTDIR by itself may be
; another one, or none.
Function ReadFolder
  System::Call 'kernel32::GetCommandLineW() t .r0'
  StrCpy $1 0
  ${Do}
    IntOp $1 $1 + 1
    StrCpy $2 $0 4 $1
    ${If} $2 == ""
      Return
    ${ElseIf} $2 == ' /D='
      IntOp $1 $1 + 4
      StrCpy $Subject $0 "" $1
      ${ExitDo}
    ${ElseIf} $2 == '"/D='
      IntOp $1 $1 + 4
      StrCpy $Subject $0 "" $1
      ${WordFind} $Subject '"' "+1" $Subject
      ${ExitDo}
    ${EndIf}
  ${Loop}
  ; An option behind the folder would be taken for a part of it.
  StrCpy $1 $Subject
  System::Call 'shlwapi::StrStrW(t r1, t " /") p .r0'
  StrCpy $3 $1 2 1
  System::Call 'kernel32::GetFullPathNameW(t r1, i ${NSIS_MAX_STRLEN}, t .r2, p 0)'
  StrCpy $1 $2 1 -1
  ${If} $1 == "\"
    StrCpy $2 $2 -1
  ${EndIf}
  StrLen $4 $2
  StrCpy $INSTDIR $2
  ${If} $0 <> 0
  ${OrIf} $3 != ":\"
  ${OrIf} $4 < 4
  ${OrIf} $INSTDIR != $2
    !insertmacro Refuse '$(Failed) $(NotFullPath)'
  ${EndIf}
FunctionEnd

Function .onInit
  Call ReadWords
  !insertmacro Start
  ${If} $Removes != ""
    SetSilent silent
    StrCpy $INSTDIR ""
    Return
  ${EndIf}
  ${If} $INSTDIR == ""
    StrCpy $INSTDIR $OldFolder
  ${EndIf}
  ${If} $INSTDIR == ""
    StrCpy $INSTDIR "$PROGRAMFILES32\${PRODUCT}"
  ${EndIf}
  Call ReadFolder
  !ifdef WITH_64_BIT
    Call SettleFirstMenu
  !else
    StrCpy $Windows11 ""
  !endif
FunctionEnd

; A folder that an earlier version made goes with this one.
Function InheritMadeFolder
  StrLen $0 $OldMadeFolder
  StrLen $1 $MadeFolder
  StrCpy $2 "$INSTDIR\" $0
  StrCpy $3 "$INSTDIR\" 1 $0
  ${If} $OldMadeFolder != ""
  ${AndIf} $OldMadeFolder == $2
  ${AndIf} $3 == "\"
    ${If} $1 = 0
    ${OrIf} $0 < $1
      StrCpy $MadeFolder $OldMadeFolder
    ${EndIf}
  ${EndIf}
FunctionEnd

; Without a folder to install into, the installed version is just removed.
Section
  Call DropSavedTrees
  InitPluginsDir
  ClearErrors
  SetOverwrite try
  !insertmacro Subfolders UnpackFolder
  !insertmacro BuiltFiles Unpack
  !insertmacro For64Bit UnpackFolder win11
  !insertmacro Windows11Files UnpackForFirstMenu
  WriteUninstaller "$PLUGINSDIR\Uninstall.exe"
  ${If} ${Errors}
    !insertmacro Fail '$(CannotUnpack)' ''
  ${EndIf}
  Call ${UN}JudgeUnpacked

  ${If} $INSTDIR != ""
    Call MakeFolders
    !insertmacro Subfolders MakeSubfolder
    ${If} $Windows11 != ""
      !insertmacro MakeSubfolder win11
    ${EndIf}
    StrCpy $R5 ""
  ${EndIf}
  ${If} $OldFolder != ""
    !insertmacro RemoveOldVersion
  ${EndIf}
  ${If} $INSTDIR != ""
    !insertmacro Files Place
    !insertmacro Servers Register
    !insertmacro For64Bit Components AddSurrogate
    Call InheritMadeFolder
    !insertmacro Files AddSize
    ${If} $Windows11 != ""
      !insertmacro Windows11Files Place
      !insertmacro Windows11Files AddSize
      Call AddNewPackage
      !insertmacro Windows11Values Write
    ${EndIf}
    IntOp $Size $Size / 1024
    Call AddToSearchPath
    !insertmacro Values Write
  ${EndIf}

  ; Nothing fails from here on.
  ${If} $INSTDIR != ""
    !insertmacro Files DeleteReplaced
    !insertmacro Windows11Files DeleteReplaced
    Call DropWindows11Folder
  ${EndIf}
  ${If} $OldFolder != ""
  ${AndIf} $OldFolder != $INSTDIR
  ${AndIf} $Left == ""
    !insertmacro Files DeleteOld
    !insertmacro Windows11Files DeleteOld
    !insertmacro RemoveOldFolders
  ${EndIf}
  !insertmacro Finish
SectionEnd

; ---- The uninstaller

!define /redef UN "un."
!include steps.nsh
!include trust.nsh
!include search_path.nsh
!include windows11.nsh
!include words.nsh

Function un.onInit
  Call un.ReadWords
  !insertmacro Start
  ${If} $OldFolder == ""
    StrCpy $OldFolder $INSTDIR
  ${EndIf}
FunctionEnd

Section Uninstall
  Call un.DropSavedTrees
  InitPluginsDir
  ClearErrors
  SetOverwrite try
  CreateDirectory "$PLUGINSDIR$Folder64"
  !insertmacro Servers UnpackServer
  ${If} ${Errors}
    !insertmacro Fail '$(CannotUnpack)' ''
  ${EndIf}
  Call ${UN}JudgeUnpacked
  !insertmacro RemoveOldVersion

  ; Nothing fails from here on.
  ${If} $Left == ""
    !insertmacro Files DeleteOld
    !insertmacro Windows11Files DeleteOld
    !insertmacro RemoveOldFolders
  ${EndIf}
  !insertmacro Finish
SectionEnd
