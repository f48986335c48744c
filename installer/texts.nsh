; What the setup says in both languages; everything else that it shows comes with the pages. A failure is one sentence.
!define LINE "$\r$\n"

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

!insertmacro Text IsNotRegistered '"$Subject" is not what Windows has registered for all users.' \
  '"$Subject" nicht das ist, was Windows für alle Benutzer registriert hat.'
; Why a folder is not trusted, and what helps.
!insertmacro Text IsLink 'the folder "$Subject" is a link to another one' \
  'der Ordner "$Subject" auf einen anderen verweist'
!insertmacro Text OtherOwner 'the folder "$Subject" belongs to somebody other than the administrators' \
  'der Ordner "$Subject" jemand anderem als den Administratoren gehört'
!insertmacro Text OtherWriters 'not only administrators can change the folder "$Subject"' \
  'nicht nur Administratoren den Ordner "$Subject" ändern können'
!insertmacro Text UnknownRights 'the rights of the folder "$Subject" cannot be read' \
  'die Rechte des Ordners "$Subject" nicht gelesen werden können'
!insertmacro Text ChooseAnother '; a new folder below "$PROGRAMFILES32" is safe.' \
  '; ein neuer Ordner unter "$PROGRAMFILES32" ist sicher.'
!insertmacro Text OwnTemporary '; TEMP must name a folder that only this administrator can change.' \
  '; TEMP muss einen Ordner nennen, den nur dieser Administrator ändern kann.'
!insertmacro Text LeftFiles 'The files in "$OldFolder" stay and must be deleted by hand because $Distrust.' \
  'Die Dateien in "$OldFolder" bleiben und müssen von Hand gelöscht werden, weil $Distrust.'

!insertmacro Text Welcome "This puts the items of the Norvak suite into the context menu of files, folders and drives, \
for all users of this computer.${LINE}${LINE}Nothing needs to be closed. New Explorer windows show the new items; windows \
that are open may keep what they have until Explorer starts again.${LINE}${LINE}$_CLICK" \
  "Die Menüpunkte der Norvak-Suite kommen in das Kontextmenü von Dateien, Ordnern und Laufwerken, für alle Benutzer \
dieses Computers.${LINE}${LINE}Es muss nichts geschlossen werden. Neue Explorer-Fenster zeigen die neuen Menüpunkte; \
offene Fenster behalten unter Umständen die bisherigen, bis der Explorer neu startet.${LINE}${LINE}$_CLICK"
!insertmacro Text Installed "${PRODUCT} ${VERSION} is installed, and new Explorer windows show its items." \
  "${PRODUCT} ${VERSION} ist installiert, und neue Explorer-Fenster zeigen die Menüpunkte."
!insertmacro Text FileInUse "A file of the version before is still in use. The next restart of the computer removes it; \
there is no hurry." "Eine Datei der vorigen Version wird noch benutzt. Der nächste Neustart des Computers entfernt sie; \
das eilt nicht."
!insertmacro Text Goodbye "${PRODUCT} is removed for all users of this computer. Nothing needs to be closed, and the \
settings of the suite stay." "${PRODUCT} wird für alle Benutzer dieses Computers entfernt. Es muss nichts geschlossen \
werden, und die Einstellungen der Suite bleiben."
; The first menu of Windows 11.
!insertmacro Text FirstMenu "First menu" "Erstes Menü"
!insertmacro Text FirstMenuWhere "Where the items are on Windows 11" "Wo die Menüpunkte unter Windows 11 stehen"
!insertmacro Text FirstMenuToo "Show the items in the &first menu of Windows 11 too" \
  "Die Menüpunkte auch im &ersten Menü von Windows 11 zeigen"
!insertmacro Text FirstMenuUnseen "Without this, they are under $\"Show more options$\". Nobody has seen it on a Windows 11 yet, \
so try it on one computer first. It begins with the next sign-in of each user." \
  "Sonst stehen sie unter „Weitere Optionen anzeigen“. Noch niemand hat es unter einem Windows 11 gesehen; versuchen Sie \
es daher zuerst auf einem einzelnen Computer. Es beginnt mit der nächsten Anmeldung jedes Benutzers."
!ifdef WITH_ARM64
  !insertmacro Text NoFirstMenu "The items are in one menu alone: another one is there from Windows 11 on." \
    "Die Menüpunkte stehen nur in einem Menü: ein weiteres gibt es erst ab Windows 11."
!else
  !insertmacro Text NoFirstMenu \
    "The items are in one menu alone: another one is there from Windows 11 for x64 processors on." \
    "Die Menüpunkte stehen nur in einem Menü: ein weiteres gibt es erst ab Windows 11 für x64-Prozessoren."
!endif
!insertmacro Text PackageRefused "The items are not in the first menu of Windows 11, as Windows has refused their package:" \
  "Die Menüpunkte stehen nicht im ersten Menü von Windows 11, weil Windows ihr Paket abgelehnt hat:"
!insertmacro Text PackageStays "Windows has not removed the package of its first menu:" \
  "Windows hat das Paket seines ersten Menüs nicht entfernt:"
!insertmacro Text PowerShellEnded "PowerShell has ended with status $0." "PowerShell endete mit Status $0."

!insertmacro Text UnknownWord 'it does not know the option "$Subject"; the option "/?" lists those that it knows.' \
  'es die Option "$Subject" nicht kennt; die Option "/?" nennt die bekannten.'
!insertmacro Text Usage "This installs ${PRODUCT} ${VERSION} for all users of a computer.${LINE}${LINE}\
$EXEFILE [/S] [/WIN11] [/D=FOLDER]${LINE}$EXEFILE /remove${LINE}${LINE}\
/S  installs or upgrades without a question${LINE}\
/WIN11  shows the items in the first menu of Windows 11 too; /NOWIN11 no longer${LINE}\
/D=FOLDER  installs into this folder; comes last and takes no quotes${LINE}\
/remove  uninstalls without a question, and waits until it is done${LINE}${LINE}\
The exit code is 0 when this is done, 1 when it was cancelled, 2 when nothing was changed, and 3010 when a file in \
use is removed by the next restart of the computer." \
  "Dies installiert ${PRODUCT} ${VERSION} für alle Benutzer eines Computers.${LINE}${LINE}\
$EXEFILE [/S] [/WIN11] [/D=ORDNER]${LINE}$EXEFILE /remove${LINE}${LINE}\
/S  installiert oder aktualisiert ohne Rückfrage${LINE}\
/WIN11  zeigt die Menüpunkte auch im ersten Menü von Windows 11; /NOWIN11 nicht mehr${LINE}\
/D=ORDNER  installiert in diesen Ordner; steht am Ende und ohne Anführungszeichen${LINE}\
/remove  deinstalliert ohne Rückfrage und wartet, bis das erledigt ist${LINE}${LINE}\
Der Exitcode ist 0, wenn das erledigt ist, 1 nach einem Abbruch, 2, wenn nichts geändert wurde, und 3010, wenn \
der nächste Neustart des Computers eine benutzte Datei entfernt."
!insertmacro Text UninstallUsage "This removes ${PRODUCT} ${VERSION} from a computer.${LINE}${LINE}\
Uninstall.exe [/S]${LINE}${LINE}/S  asks nothing; returns at once, while a copy goes on" \
  "Dies entfernt ${PRODUCT} ${VERSION} von einem Computer.${LINE}${LINE}\
Uninstall.exe [/S]${LINE}${LINE}/S  fragt nichts und kehrt sofort zurück, während eine Kopie weiterarbeitet"
