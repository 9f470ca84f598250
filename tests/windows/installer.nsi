; SPDX-License-Identifier: MIT
; A stand-in for the product's installer: copies a payload into the user's programs and writes down which
; version did. Silent, for one user, no elevation.
;
;   makensis -DVERSION=9.2.0.0 -DPAYLOAD=FILE -DPAYLOAD_BYTES=N -DOUTPUT=FILE installer.nsi
;
; Two variables of its environment are for tests:
;   CORVINA_INSTALL_LOG    the file that its result is appended to, otherwise "installed.log" beside it
;   CORVINA_INSTALL_HOLD   it begins once this file is gone

Target amd64-unicode
Name "Corvina ${VERSION}"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Corvina"
RequestExecutionLevel user
SilentInstall silent
; The payload does not compress, and two builds give the same bytes.
SetCompress off
SetDateSave off
; It runs only when every byte of it is right.
CRCCheck force

VIProductVersion "${VERSION}"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductName" "Corvina"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "FileDescription" "Corvina Setup"
VIAddVersionKey "LegalCopyright" "Halvard"

!include FileFunc.nsh

Function HoldOn
    ReadEnvStr $0 CORVINA_INSTALL_HOLD
    StrCmp $0 "" released
    StrCpy $1 600
held:
    IfFileExists $0 0 released
    Sleep 100
    IntOp $1 $1 - 1
    IntCmp $1 0 released released held
released:
FunctionEnd

; Appends the text on the stack, with the time, to the log.
Function Report
    Pop $9
    ${GetTime} "" "L" $2 $1 $0 $3 $4 $5 $6
    ReadEnvStr $7 CORVINA_INSTALL_LOG
    StrCmp $7 "" 0 +2
    StrCpy $7 "$EXEDIR\installed.log"
    FileOpen $8 $7 a
    FileSeek $8 0 END
    FileWrite $8 "Corvina ${VERSION} $9, $0-$1-$2 $4:$5:$6$\r$\n"
    FileClose $8
FunctionEnd

Section
    Call HoldOn
    SetOutPath "$INSTDIR"
    File "/oname=payload.bin" "${PAYLOAD}"
    FileOpen $0 "$INSTDIR\payload.bin" r
    FileSeek $0 0 END $1
    FileClose $0
    StrCmp $1 ${PAYLOAD_BYTES} 0 +3
    Push "installed: payload of $1 bytes"
    Goto +2
    Push "not installed: the payload is damaged"
    Call Report
SectionEnd
