; SPDX-License-Identifier: MIT
; Small installers whose version resources differ. Each run of makensis builds one:
;
;   makensis -DTARGET=amd64-unicode -DCASE=english -DOUTPUT=FILE versions.nsi

Target ${TARGET}
Name Corvina
OutFile "${OUTPUT}"
RequestExecutionLevel user
SilentInstall silent
!pragma warning disable 9100 ; keys that Explorer likes to show

!define languages "${NSISDIR}/Contrib/Language files"

!if ${CASE} == english
    LoadLanguageFile "${languages}/English.nlf"
    VIProductVersion 1.2.3.4
    VIAddVersionKey /LANG=1033 FileVersion 9.2.0.0
!else if ${CASE} == chinese
    LoadLanguageFile "${languages}/SimpChinese.nlf"
    VIProductVersion 1.2.3.4
    VIAddVersionKey /LANG=2052 FileVersion "9.2.0.0 Chinese"
!else if ${CASE} == with-english
    LoadLanguageFile "${languages}/German.nlf"
    LoadLanguageFile "${languages}/English.nlf"
    LoadLanguageFile "${languages}/Japanese.nlf"
    VIProductVersion 1.2.3.4
    VIAddVersionKey /LANG=1031 FileVersion "9.2.0.0 German"
    VIAddVersionKey /LANG=1033 FileVersion "9.2.0.0 English"
    VIAddVersionKey /LANG=1041 FileVersion "9.2.0.0 Japanese"
!else if ${CASE} == without-english
    LoadLanguageFile "${languages}/Japanese.nlf"
    LoadLanguageFile "${languages}/German.nlf"
    VIProductVersion 1.2.3.4
    VIAddVersionKey /LANG=1041 FileVersion "9.2.0.0 Japanese"
    VIAddVersionKey /LANG=1031 FileVersion "9.2.0.0 German"
!else if ${CASE} == neutral
    VIProductVersion 1.2.3.4
    VIAddVersionKey /LANG=0 FileVersion "9.2.0.0 neutral"
!else if ${CASE} == long-text
    VIProductVersion 1.2.3.4
    VIAddVersionKey FileVersion "  9, 2, 0, 0 (release of the fourth quarter, for everybody who asked)  "
    VIAddVersionKey Comments "A text of an odd length"
!else if ${CASE} == greek
    VIProductVersion 1.2.3.4
    VIAddVersionKey FileVersion "9.2.0.0 β für alle"
!else if ${CASE} == numbers-only
    VIProductVersion 1.2.3.4
    VIAddVersionKey ProductName Corvina
!else if ${CASE} == no-version
!else
    !error "no such case: ${CASE}"
!endif

Section
SectionEnd
