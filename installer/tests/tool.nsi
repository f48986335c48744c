; Makes for installer/tests/run what Wine's own programs cannot. The environment names the TASK and its ARGUMENT:
;   volatile KEY            a key below HKLM, in the 64-bit view, that holds no lasting subkeys
;   save FOLDER             writes the two roots of the registry into files below it, by their names
;   squat COMMAND           runs a program while the name that was once a setup's lock is taken, and ends with its status
;   unprivileged COMMAND    runs a program without the rights of an administrator, and ends with its status
Unicode true
RequestExecutionLevel user
SilentInstall silent
OutFile "${TOOL}"
!include LogicLib.nsh

Section
  ReadEnvStr $1 ARGUMENT
  ReadEnvStr $2 TASK
  ${If} $2 == volatile
    System::Call 'advapi32::RegCreateKeyExW(i 0x80000002, t r1, i 0, p 0, i 1, i 0x20119, p 0, *p, p 0) i .r0'
  ${ElseIf} $2 == save
    System::Call 'ntdll::RtlAdjustPrivilege(i 17, i 1, i 0, *i)'
    System::Call 'advapi32::RegSaveKeyW(p 0x80000002, t "$1HKEY_LOCAL_MACHINE", p 0) i .r0'
    System::Call 'advapi32::RegSaveKeyW(p 0x80000001, t "$1HKEY_CURRENT_USER", p 0) i .r3'
    IntOp $0 $0 | $3
  ${ElseIf} $2 == squat
    System::Call 'kernel32::CreateMutexW(p 0, i 1, t "Global\NorvakContextMenuSetup")'
    ExecWait $1 $0
  ${ElseIf} $2 == unprivileged
    System::Call 'advapi32::OpenProcessToken(p -1, i 0xF01FF, *p .r2)'
    System::Call 'advapi32::ConvertStringSidToSidW(t "S-1-5-32-544", *p .r3)'
    System::Call '*(p r3, i 0) p .r3'
    System::Call 'advapi32::CreateRestrictedToken(p r2, i 0, i 1, p r3, i 0, p 0, i 0, p 0, *p .r2)'
    System::Call '*(i 68, p, p, p, i, i, i, i, i, i, i, i, p, p, p, p, p) p .r3'
    System::Call '*(p, p, i, i) p .r4'
    System::Call 'advapi32::CreateProcessAsUserW(p r2, p, t r1, p, p, i 1, i 0, p, p, p r3, p r4)'
    System::Call '*$4(p .r2)'
    System::Call 'kernel32::WaitForSingleObject(p r2, i -1)'
    System::Call 'kernel32::GetExitCodeProcess(p r2, *i .r0)'
  ${EndIf}
  SetErrorLevel $0
SectionEnd
