; What the setup says in both languages; everything else that it shows comes with the pages. A failure is one sentence.

!macro Text NAME ENGLISH GERMAN
  LangString ${NAME} ${LANG_ENGLISH} '${ENGLISH}'
  LangString ${NAME} ${LANG_GERMAN} '${GERMAN}'
!macroend

!insertmacro Text Failed "The setup of ${PRODUCT} has failed because" "Das Setup von ${PRODUCT} ist fehlgeschlagen, weil"
!insertmacro Text NeedsAdministrator "it needs the rights of an administrator." "es die Rechte eines Administrators benötigt."
!insertmacro Text IsRunning "another one is running." "bereits ein anderes läuft."
!insertmacro Text NotFullPath '"$Subject" is not the full path of a folder on a drive.' \
  '"$Subject" nicht der volle Pfad eines Ordners auf einem Laufwerk ist.'
!insertmacro Text CannotUnpack 'its files cannot be unpacked into "$PLUGINSDIR".' \
  'seine Dateien nicht nach "$PLUGINSDIR" entpackt werden können.'
!insertmacro Text IsNoFolder '"$Subject" is a file where a folder is needed.' \
  '"$Subject" eine Datei ist, wo ein Ordner gebraucht wird.'
!insertmacro Text IsNoFile '"$Subject" is a folder where a file is needed.' \
  '"$Subject" ein Ordner ist, wo eine Datei gebraucht wird.'
!insertmacro Text CannotMakeFolder 'the folder "$Subject" cannot be made' \
  'der Ordner "$Subject" nicht angelegt werden kann'
!insertmacro Text CannotMove 'the file "$Subject" cannot be renamed' \
  'die Datei "$Subject" nicht umbenannt werden kann'
!insertmacro Text CannotWriteFile 'the file "$Subject" cannot be written' \
  'die Datei "$Subject" nicht geschrieben werden kann'
!insertmacro Text CannotWriteKey 'the registry key "HKLM\$2" cannot be written' \
  'der Registrierungsschlüssel "HKLM\$2" nicht geschrieben werden kann'
!insertmacro Text CannotRegister '"$Subject" cannot be registered (regsvr32 has ended with status $0).' \
  '"$Subject" nicht registriert werden kann (regsvr32 endete mit Status $0).'
!insertmacro Text CannotUnregister '"$Subject" cannot be unregistered (regsvr32 has ended with status $0).' \
  '"$Subject" nicht abgemeldet werden kann (regsvr32 endete mit Status $0).'
