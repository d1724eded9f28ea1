; Steps of the installer and of the uninstaller.

; Fail TEXT: ends the installation, with a message if there is a window.
!macro Fail TEXT
  MessageBox MB_OK|MB_ICONSTOP "${TEXT}" /SD IDOK
  SetErrorLevel 2
  Abort "${TEXT}"
!macroend

; FailIfUsed FILE: a file that a program has loaded cannot be opened for writing.
!macro FailIfUsed FILE
  ${If} ${FileExists} "${FILE}"
    ClearErrors
    FileOpen $0 "${FILE}" a
    ${If} ${Errors}
      !insertmacro Fail "${FILE} is in use. Close the programs that use it first."
    ${EndIf}
    FileClose $0
  ${EndIf}
!macroend

; Orvctl COMMAND: register or unregister, as installed; $0 is the exit status, $1 what the program wrote.
!macro Orvctl COMMAND
  StrCpy $0 '"$INSTDIR\bin\orvctl.exe" ${COMMAND}'
  ${If} $MultiUser.InstallMode == CurrentUser
    StrCpy $0 "$0 --user"
  ${EndIf}
  nsExec::ExecToStack $0
  Pop $0
  Pop $1
  DetailPrint $1
!macroend

; CopyMissing FROM TO: copies a file, with its time, unless there is one.
!macro CopyMissing FROM TO
  ${IfNot} ${FileExists} "${TO}"
    CopyFiles /SILENT "${FROM}" "${TO}"
  ${EndIf}
!macroend

; DeleteCopy FROM TO: deletes what CopyMissing copied, unless it was replaced since: its time is then another.
!macro DeleteCopy FROM TO
  GetFileTime "${FROM}" $1 $2
  GetFileTime "${TO}" $3 $4
  ${If} "$1 $2" == "$3 $4"
    Delete "${TO}"
  ${EndIf}
!macroend

; ChangePath Add|Remove: puts $INSTDIR\bin at the end of the machine's or user's path, or takes it out. The path is changed in memory of
; its own, because it may be longer than a text of an installer, and keeps its kind, because it may name variables.
!define ROOT_OF_MACHINE 0x80000002
!define ROOT_OF_USER 0x80000001
!define READ_AND_WRITE 0x2001F
!define EXPANDED_TEXT 2
!macro ChangePath STEP
  ${If} $MultiUser.InstallMode == AllUsers
    StrCpy $0 ${ROOT_OF_MACHINE}
    StrCpy $1 "SYSTEM\CurrentControlSet\Control\Session Manager\Environment"
  ${Else}
    StrCpy $0 ${ROOT_OF_USER}
    StrCpy $1 "Environment"
  ${EndIf}
  System::Call 'advapi32::RegCreateKeyExW(p r0, w r1, i 0, p 0, i 0, i ${READ_AND_WRITE}, p 0, *p .r9, p 0) i .r0'
  ${If} $0 <> 0
    !insertmacro Fail "The path cannot be changed: error $0."
  ${EndIf}
  StrCpy $2 ${EXPANDED_TEXT}  ; the kind, if there is no path
  StrCpy $3 0                 ; the size in bytes
  System::Call 'advapi32::RegQueryValueExW(p r9, w "Path", p 0, *i r2r2, p 0, *i r3r3)'
  StrLen $4 "$INSTDIR\bin"
  IntOp $0 $4 * 2
  IntOp $0 $0 + $3
  IntOp $0 $0 + 16
  System::Alloc $0  ; filled with zeros
  Pop $5
  ; ";PATH;", so that every entry is between two semicolons.
  System::Call 'kernel32::lstrcpyW(p r5, w ";")'
  IntPtrOp $6 $5 + 2
  System::Call 'advapi32::RegQueryValueExW(p r9, w "Path", p 0, p 0, p r6, *i r3)'
  System::Call 'kernel32::lstrcatW(p r5, w ";")'
  System::Call 'shlwapi::StrStrIW(p r5, w ";$INSTDIR\bin;") p .r7'
  System::Call 'kernel32::lstrlenW(p r6) i .r3'
  !insertmacro ${STEP}ToPath
  ; Without the last semicolon.
  System::Call 'kernel32::lstrlenW(p r6) i .r3'
  ${If} $3 > 1
    IntOp $3 $3 * 2
    IntOp $0 $3 - 2
    IntPtrOp $8 $6 + $0
    System::Call '*$8(&i2 0)'
    System::Call 'advapi32::RegSetValueExW(p r9, w "Path", i 0, i r2, p r6, i r3)'
  ${Else}
    System::Call 'advapi32::RegDeleteValueW(p r9, w "Path")'
  ${EndIf}
  System::Free $5
  System::Call 'advapi32::RegCloseKey(p r9)'
  SendMessage ${HWND_BROADCAST} ${WM_SETTINGCHANGE} 0 "STR:Environment" /TIMEOUT=2000
!macroend

!macro AddToPath
  ${If} $7 P= 0
    ${If} $3 = 1  ; no path at all
      System::Call 'kernel32::lstrcpyW(p r6, w "$INSTDIR\bin;")'
    ${Else}
      System::Call 'kernel32::lstrcatW(p r5, w "$INSTDIR\bin;")'
    ${EndIf}
  ${EndIf}
!macroend

!macro RemoveToPath
  ${If} $7 P<> 0
    ; The rest, from the semicolon after the entry, takes its place.
    IntOp $4 $4 + 1
    IntOp $4 $4 * 2
    IntPtrOp $8 $7 + $4
    System::Call 'kernel32::lstrlenW(p r8) i .r0'
    IntOp $0 $0 + 1
    IntOp $0 $0 * 2
    System::Call 'kernel32::RtlMoveMemory(p r7, p r8, p r0)'
  ${EndIf}
!macroend
