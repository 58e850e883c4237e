; The installer: for one user, without administrator's rights, into a folder that the console may write into, because
; its settings, logs and start list lie beside it. Silently: orvekline-VERSION-setup.exe /S [/D=C:\folder]
Target amd64-unicode ; as the console, which no 32-bit Windows runs
SetCompressor /SOLID lzma
SetDateSave off
RequestExecutionLevel user
!include "MUI2.nsh"
!include "LogicLib.nsh"

!define KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Orvekline"

Name "Orvekline ${VERSION}"
OutFile "${OUT}"
InstallDir "$LOCALAPPDATA\Orvekline"
InstallDirRegKey HKCU "${KEY}" "InstallLocation"

VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "Orvekline"
VIAddVersionKey "CompanyName" "Orvekline"
VIAddVersionKey "FileDescription" "Orvekline installer"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" "Orvekline"

!define MUI_ICON "app/orvek.ico"
!define MUI_DIRECTORYPAGE_TEXT_TOP "The console keeps its settings, logs and start list beside its program. Choose a folder that you may write into."
!insertmacro MUI_PAGE_LICENSE "packaging/LICENSE.txt"
!define MUI_PAGE_CUSTOMFUNCTION_LEAVE check_folder
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; Sets the error flag when nothing can be written into $INSTDIR.
Function try_folder
  CreateDirectory "$INSTDIR"
  ClearErrors
  FileOpen $0 "$INSTDIR\orvek_write_test.tmp" w
  ${IfNot} ${Errors}
    FileClose $0
    Delete "$INSTDIR\orvek_write_test.tmp"
  ${EndIf}
FunctionEnd

Function check_folder
  Call try_folder
  ${If} ${Errors}
    MessageBox MB_OK|MB_ICONEXCLAMATION "Nothing can be written into $INSTDIR. Please choose another folder."
    Abort
  ${EndIf}
FunctionEnd

Section "Orvekline"
  Call try_folder
  ${If} ${Errors}
    SetErrorLevel 2
    Abort "Nothing can be written into $INSTDIR."
  ${EndIf}
  SetOutPath "$INSTDIR"
  File "${STAGE}/Orvek.exe"
  File "${STAGE}/orvekctl.exe"
  File "${STAGE}/LICENSE.txt"
  File "${STAGE}/CHANGELOG.md"
  ; What the operator has is worth more than our samples.
  SetOverwrite off
  File "${STAGE}/settings.txt"
  File "${STAGE}/jumpers.csv"
  SetOverwrite on
  SetOutPath "$INSTDIR\doc\help"
  File "${STAGE}/doc/help/*"
  SetOutPath "$INSTDIR"
  CreateDirectory "$SMPROGRAMS\Orvekline"
  CreateShortcut "$SMPROGRAMS\Orvekline\Orvekline.lnk" "$INSTDIR\Orvek.exe"
  CreateShortcut "$SMPROGRAMS\Orvekline\Orvekline help.lnk" "$INSTDIR\doc\help\index.html"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr HKCU "${KEY}" "DisplayName" "Orvekline"
  WriteRegStr HKCU "${KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${KEY}" "Publisher" "Orvekline"
  WriteRegStr HKCU "${KEY}" "DisplayIcon" "$INSTDIR\Orvek.exe"
  WriteRegStr HKCU "${KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKCU "${KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKCU "${KEY}" "NoModify" 1
  WriteRegDWORD HKCU "${KEY}" "NoRepair" 1
SectionEnd

; Only what the installer brought. Settings, the start list, logs and recordings are the operator's.
Section "Uninstall"
  Delete "$INSTDIR\Orvek.exe"
  Delete "$INSTDIR\orvekctl.exe"
  Delete "$INSTDIR\LICENSE.txt"
  Delete "$INSTDIR\CHANGELOG.md"
  Delete "$INSTDIR\doc\help\index.html"
  Delete "$INSTDIR\doc\help\settings.html"
  RMDir "$INSTDIR\doc\help"
  RMDir "$INSTDIR\doc"
  Delete "$SMPROGRAMS\Orvekline\Orvekline.lnk"
  Delete "$SMPROGRAMS\Orvekline\Orvekline help.lnk"
  RMDir "$SMPROGRAMS\Orvekline"
  DeleteRegKey HKCU "${KEY}"
  ; Last, so that whoever waits for it finds everything done, and what was interrupted can be begun again.
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
SectionEnd
