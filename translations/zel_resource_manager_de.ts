<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>zel::BaseTask</name>
    <message>
        <source>Task has been destroyed before it finished.</source>
        <translation>Die Aufgabe wurde gelöscht, bevor sie beendet war.</translation>
    </message>
    <message>
        <source>Task has been canceled.</source>
        <translation>Die Aufgabe wurde abgebrochen.</translation>
    </message>
    <message>
        <source>Unable to get data before task is finished.</source>
        <translation>Daten liegen erst vor, wenn die Aufgabe beendet ist.</translation>
    </message>
    <message>
        <source>Return value is not set.</source>
        <translation>Der Rückgabewert ist nicht gesetzt.</translation>
    </message>
    <message>
        <source>Return type does not match.</source>
        <translation>Der Typ des Rückgabewerts stimmt nicht überein.</translation>
    </message>
    <message>
        <source>There is no task to wait for.</source>
        <translation>Es gibt keine Aufgabe, auf die gewartet werden könnte.</translation>
    </message>
</context>
<context>
    <name>zel::BlockingWait</name>
    <message>
        <source>Waiting took longer than allowed.</source>
        <translation>Das Warten dauerte länger als erlaubt.</translation>
    </message>
    <message>
        <source>Waiting is impossible without a QCoreApplication.</source>
        <translation>Ohne QCoreApplication kann nicht gewartet werden.</translation>
    </message>
</context>
<context>
    <name>zel::FileHash</name>
    <message>
        <source>&quot;%1&quot; is no checksum.</source>
        <translation>„%1“ ist keine Prüfsumme.</translation>
    </message>
    <message>
        <source>Reading &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht gelesen werden: %2</translation>
    </message>
</context>
<context>
    <name>zel::FileSync</name>
    <message>
        <source>Writing &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht geschrieben werden: %2</translation>
    </message>
    <message>
        <source>Writing the folder &quot;%1&quot; failed: %2</source>
        <translation>Der Ordner „%1“ konnte nicht geschrieben werden: %2</translation>
    </message>
    <message>
        <source>Renaming &quot;%1&quot; to &quot;%2&quot; failed: %3</source>
        <translation>„%1“ konnte nicht in „%2“ umbenannt werden: %3</translation>
    </message>
</context>
<context>
    <name>zel::FileUtilsGeneric</name>
    <message>
        <source>The folder &quot;%1&quot; cannot be created.</source>
        <translation>Der Ordner „%1“ kann nicht angelegt werden.</translation>
    </message>
</context>
<context>
    <name>zel::FreeSpace</name>
    <message>
        <source>The free space at &quot;%1&quot; cannot be read: %2</source>
        <translation>Der freie Speicherplatz bei „%1“ kann nicht ermittelt werden: %2</translation>
    </message>
</context>
<context>
    <name>zel::GroupTask</name>
    <message>
        <source>Cannot get results for unfinished group task.</source>
        <translation>Die Ergebnisse einer Gruppe von Aufgaben liegen erst vor, wenn sie beendet ist.</translation>
    </message>
    <message>
        <source>No subtasks in group task.</source>
        <translation>Die Gruppe enthält keine Aufgaben.</translation>
    </message>
</context>
<context>
    <name>zel::NativeFile</name>
    <message>
        <source>Opening &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht geöffnet werden: %2</translation>
    </message>
    <message>
        <source>Reading &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>Writing &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht geschrieben werden: %2</translation>
    </message>
    <message>
        <source>Writing the volume of &quot;%1&quot; failed: %2</source>
        <translation>Auf den Datenträger von „%1“ konnte nicht geschrieben werden: %2</translation>
    </message>
</context>
<context>
    <name>zel::RemoteResourceHandler</name>
    <message>
        <source>Copying a file to the cache location failed.</source>
        <translation>Eine Datei konnte nicht an ihren Platz im Cache kopiert werden.</translation>
    </message>
    <message>
        <source>Copying a directory to the cache location failed.</source>
        <translation>Ein Ordner konnte nicht an seinen Platz im Cache kopiert werden.</translation>
    </message>
</context>
<context>
    <name>zel::RemoteResourceRetrievingTask</name>
    <message>
        <source>Retrieving %1</source>
        <translation>%1 wird abgerufen</translation>
    </message>
    <message>
        <source>Waiting for retrieve of %1</source>
        <translation>Warten auf den Abruf von %1</translation>
    </message>
</context>
<context>
    <name>zel::ResourceCache</name>
    <message>
        <source>Removing the folder &quot;%1&quot; failed.</source>
        <translation>Der Ordner „%1“ konnte nicht entfernt werden.</translation>
    </message>
    <message>
        <source>Removing the file &quot;%1&quot; failed.</source>
        <translation>Die Datei „%1“ konnte nicht entfernt werden.</translation>
    </message>
    <message>
        <source>Only Folder ZACQ is supported</source>
        <translation>Nur ZACQ-Container in Ordnerform werden unterstützt</translation>
    </message>
    <message>
        <source>Sample name is too long</source>
        <translation>Der Name der Probe ist zu lang</translation>
    </message>
    <message>
        <source>Target hash folder for sparse ZACQ already exists</source>
        <translation>Der Zielordner des ausgelagerten ZACQ-Containers existiert bereits</translation>
    </message>
    <message>
        <source>Unable to remove resource.</source>
        <translation>Die Ressource kann nicht entfernt werden.</translation>
    </message>
    <message>
        <source>Trying to finalize retrieve for non existing resource</source>
        <translation>Der Abruf einer nicht vorhandenen Ressource kann nicht abgeschlossen werden</translation>
    </message>
    <message>
        <source>Resource status cannot be updated properly.</source>
        <translation>Der Status der Ressource kann nicht richtig aktualisiert werden.</translation>
    </message>
    <message>
        <source>Unable to get local path for missing resource.</source>
        <translation>Eine fehlende Ressource hat keinen lokalen Pfad.</translation>
    </message>
    <message>
        <source>Resource that is not added in database cannot be used</source>
        <translation>Eine Ressource, die nicht in der Datenbank steht, kann nicht benutzt werden</translation>
    </message>
    <message>
        <source>Releasing usage of reference failed</source>
        <translation>Die Benutzung der Referenz konnte nicht freigegeben werden</translation>
    </message>
</context>
<context>
    <name>zel::ResourceCacheDao</name>
    <message>
        <source>The operation needs a transaction.</source>
        <translation>Der Vorgang braucht eine Transaktion.</translation>
    </message>
    <message>
        <source>The cache database is not open.</source>
        <translation>Die Cache-Datenbank ist nicht geöffnet.</translation>
    </message>
    <message>
        <source>Resource status data is missing.</source>
        <translation>Die Angabe zum Status der Ressource fehlt.</translation>
    </message>
    <message>
        <source>Unknown resource status.</source>
        <translation>Unbekannter Status der Ressource.</translation>
    </message>
    <message>
        <source>Resource cleanup policy data is missing.</source>
        <translation>Die Angabe zur Aufräumregel der Ressource fehlt.</translation>
    </message>
    <message>
        <source>Unknown resource cleanup policy.</source>
        <translation>Unbekannte Aufräumregel der Ressource.</translation>
    </message>
    <message>
        <source>Resource is not cached.</source>
        <translation>Die Ressource liegt nicht im Cache.</translation>
    </message>
    <message>
        <source>Unable to get local path for missing resource</source>
        <translation>Eine fehlende Ressource hat keinen lokalen Pfad</translation>
    </message>
    <message>
        <source>Could not find resource &quot;%1&quot; with status &quot;%2&quot;</source>
        <translation>Keine Ressource „%1“ mit dem Status „%2“ gefunden</translation>
    </message>
    <message>
        <source>Cache metadata is missing.</source>
        <translation>Die Metadaten des Caches fehlen.</translation>
    </message>
    <message>
        <source>Unable to get necessary data from database.</source>
        <translation>Benötigte Daten können nicht aus der Datenbank gelesen werden.</translation>
    </message>
</context>
<context>
    <name>zel::ResourceCacheReader</name>
    <message>
        <source>&quot;%1&quot; is not a cache database.</source>
        <translation>„%1“ ist keine Cache-Datenbank.</translation>
    </message>
    <message>
        <source>Unable to read the cache database &quot;%1&quot;: %2</source>
        <translation>Die Cache-Datenbank „%1“ kann nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>There is no cache database &quot;%1&quot;.</source>
        <translation>Es gibt keine Cache-Datenbank „%1“.</translation>
    </message>
</context>
<context>
    <name>zel::ResourceHandler</name>
    <message>
        <source>Null reference provided.</source>
        <translation>Es wurde keine Referenz übergeben.</translation>
    </message>
    <message>
        <source>A feature is not supported</source>
        <translation>Eine Funktion wird nicht unterstützt</translation>
    </message>
    <message>
        <source>Resource %1 does not exist</source>
        <translation>Die Ressource %1 existiert nicht</translation>
    </message>
</context>
<context>
    <name>zel::ResourceHandlerFactory</name>
    <message>
        <source>Null reference provided.</source>
        <translation>Es wurde keine Referenz übergeben.</translation>
    </message>
    <message>
        <source>Resource handler with scheme &quot;%1&quot; is not supported.</source>
        <translation>Ressourcen mit dem Schema „%1“ werden nicht unterstützt.</translation>
    </message>
</context>
<context>
    <name>zel::ResourceHandlerUtils</name>
    <message>
        <source>Null handler provided.</source>
        <translation>Es wurde kein Handler übergeben.</translation>
    </message>
</context>
<context>
    <name>zel::ResourceManager</name>
    <message>
        <source>Null reference provided.</source>
        <translation>Es wurde keine Referenz übergeben.</translation>
    </message>
    <message>
        <source>Unable to make a handler for resource: %1</source>
        <translation>Für die Ressource kann kein Handler angelegt werden: %1</translation>
    </message>
    <message>
        <source>Removing the folder &quot;%1&quot; failed.</source>
        <translation>Der Ordner „%1“ konnte nicht entfernt werden.</translation>
    </message>
    <message>
        <source>Removing the file &quot;%1&quot; failed.</source>
        <translation>Die Datei „%1“ konnte nicht entfernt werden.</translation>
    </message>
    <message>
        <source>Null handler provided.</source>
        <translation>Es wurde kein Handler übergeben.</translation>
    </message>
    <message>
        <source>Unable to check existence of resource: %1</source>
        <translation>Es kann nicht geprüft werden, ob die Ressource existiert: %1</translation>
    </message>
    <message>
        <source>Unable to retrieve metadata of resource: %1</source>
        <translation>Die Metadaten der Ressource können nicht abgerufen werden: %1</translation>
    </message>
    <message>
        <source>Unable to retrieve missing resource: %1</source>
        <translation>Die fehlende Ressource kann nicht abgerufen werden: %1</translation>
    </message>
    <message>
        <source>Retrieve of resources has been canceled.</source>
        <translation>Der Abruf von Ressourcen wurde abgebrochen.</translation>
    </message>
    <message>
        <source>Failed to create cache directory %1</source>
        <translation>Das Cache-Verzeichnis %1 konnte nicht angelegt werden</translation>
    </message>
    <message>
        <source>Null task provided.</source>
        <translation>Es wurde keine Aufgabe übergeben.</translation>
    </message>
</context>
<context>
    <name>zel::ResourceMetadataFactory</name>
    <message>
        <source>Resource metadata with scheme &quot;%1&quot; is not supported.</source>
        <translation>Metadaten von Ressourcen mit dem Schema „%1“ werden nicht unterstützt.</translation>
    </message>
</context>
<context>
    <name>zel::ResourceReference</name>
    <message>
        <source>The description of a reference scheme is incomplete or malformed.</source>
        <translation>Die Beschreibung eines Referenzschemas ist unvollständig oder fehlerhaft.</translation>
    </message>
    <message>
        <source>Another reference scheme has one of the prefixes %1.</source>
        <translation>Einer der Präfixe %1 gehört bereits zu einem anderen Referenzschema.</translation>
    </message>
    <message>
        <source>The resource reference is empty.</source>
        <translation>Die Referenz auf eine Ressource ist leer.</translation>
    </message>
    <message>
        <source>The resource reference contains control characters.</source>
        <translation>Die Referenz auf eine Ressource enthält Steuerzeichen.</translation>
    </message>
    <message>
        <source>The resource reference does not start with a scheme. %1</source>
        <translation>Die Referenz auf eine Ressource beginnt nicht mit einem Schema. %1</translation>
    </message>
    <message>
        <source>Resource references with scheme &quot;%1&quot; are not known. %2</source>
        <translation>Referenzen mit dem Schema „%1“ sind nicht bekannt. %2</translation>
    </message>
    <message>
        <source>No scheme is known.</source>
        <translation>Es ist kein Schema bekannt.</translation>
    </message>
    <message>
        <source>Known schemes: %1.</source>
        <translation>Bekannte Schemata: %1.</translation>
    </message>
    <message>
        <source>The scheme &quot;%1&quot; gave no reference.</source>
        <translation>Das Schema „%1“ lieferte keine Referenz.</translation>
    </message>
</context>
<context>
    <name>zel::ResourceRetrieveHandle</name>
    <message>
        <source>The cache was moved while the resource &quot;%1&quot; was being retrieved.</source>
        <translation>Der Cache wurde verlegt, während die Ressource „%1“ abgerufen wurde.</translation>
    </message>
</context>
<context>
    <name>zel::SettingsInterface</name>
    <message>
        <source>The settings cannot be written to &quot;%1&quot;.</source>
        <translation>Die Einstellungen können nicht nach „%1“ geschrieben werden.</translation>
    </message>
</context>
<context>
    <name>zel::Task</name>
    <message>
        <source>Task has been ended by an exception.</source>
        <translation>Die Aufgabe wurde durch eine Ausnahme beendet.</translation>
    </message>
</context>
<context>
    <name>zel::Threads</name>
    <message>
        <source>Unable to start a thread: %1</source>
        <translation>Es ließ sich kein Thread starten: %1</translation>
    </message>
</context>
<context>
    <name>zel::TreeCopy</name>
    <message>
        <source>Copying &quot;%1&quot; failed: the file became shorter meanwhile.</source>
        <translation>„%1“ konnte nicht kopiert werden: Die Datei wurde währenddessen kürzer.</translation>
    </message>
    <message>
        <source>Copying &quot;%1&quot; to &quot;%2&quot; failed: %3</source>
        <translation>„%1“ konnte nicht nach „%2“ kopiert werden: %3</translation>
    </message>
    <message>
        <source>Copying &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht kopiert werden: %2</translation>
    </message>
    <message>
        <source>&quot;%1&quot; was left out: it is neither a file nor a folder.</source>
        <translation>„%1“ wurde ausgelassen: weder eine Datei noch ein Ordner.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no name for a copy.</source>
        <translation>„%1“ ist kein Name für eine Kopie.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; was left out: it is a link that leads out of the folder.</source>
        <translation>„%1“ wurde ausgelassen: eine Verknüpfung, die aus dem Ordner hinausführt.</translation>
    </message>
    <message>
        <source>%1 more entries were left out.</source>
        <translation>%1 weitere Einträge wurden ausgelassen.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; cannot be copied into itself.</source>
        <translation>„%1“ kann nicht in sich selbst kopiert werden.</translation>
    </message>
</context>
<context>
    <name>zel::TreeRemoval</name>
    <message>
        <source>&quot;%1&quot; is no path of something to remove.</source>
        <translation>„%1“ ist kein Pfad, unter dem etwas entfernt werden könnte.</translation>
    </message>
    <message>
        <source>Removing &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht entfernt werden: %2</translation>
    </message>
</context>
<context>
    <name>zel::VolumeMove</name>
    <message>
        <source>Renaming &quot;%1&quot; to &quot;%2&quot; failed: %3</source>
        <translation>„%1“ konnte nicht in „%2“ umbenannt werden: %3</translation>
    </message>
    <message>
        <source>Exchanging &quot;%1&quot; and &quot;%2&quot; failed: %3</source>
        <translation>„%1“ und „%2“ konnten nicht vertauscht werden: %3</translation>
    </message>
</context>
<context>
    <name>zel::WholeCopy</name>
    <message>
        <source>%1 is there already.</source>
        <translation>%1 ist schon da.</translation>
    </message>
</context>
<context>
    <name>zel::db</name>
    <message>
        <source>Database is not open.</source>
        <translation>Die Datenbank ist nicht geöffnet.</translation>
    </message>
</context>
<context>
    <name>zel::msreader</name>
    <message>
        <source>Could not find match for converting vendor data format to string: %1</source>
        <translation>Zu diesem Text gibt es kein Datenformat eines Herstellers: %1</translation>
    </message>
</context>
<context>
    <name>zel::msreader::DataSourceLocation</name>
    <message>
        <source>Vendor file name is empty</source>
        <translation>Der Name der Herstellerdatei ist leer</translation>
    </message>
    <message>
        <source>The path exceeds %1</source>
        <translation>Der Pfad ist länger als %1 Zeichen</translation>
    </message>
</context>
<context>
    <name>zel::zacq::SparseConversion</name>
    <message>
        <source>The sample of &quot;%1&quot; is not in place.</source>
        <translation>Die Probe von „%1“ ist nicht an ihrem Platz.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is sparse already, with its sample in another place.</source>
        <translation>„%1“ ist bereits ausgelagert; die Probe liegt an einem anderen Platz.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no place for the sample of &quot;%2&quot;.</source>
        <translation>„%1“ ist kein Platz für die Probe von „%2“.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; belongs to another ZACQ container.</source>
        <translation>„%1“ gehört zu einem anderen ZACQ-Container.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is a link and not a folder.</source>
        <translation>„%1“ ist eine Verknüpfung und kein Ordner.</translation>
    </message>
</context>
<context>
    <name>zel::zacq::Zacq</name>
    <message>
        <source>Reading &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>The sample of &quot;%1&quot; is not in place.</source>
        <translation>Die Probe von „%1“ ist nicht an ihrem Platz.</translation>
    </message>
    <message>
        <source>The sample of &quot;%1&quot; does not have its recorded checksum.</source>
        <translation>Die Probe von „%1“ hat nicht die verzeichnete Prüfsumme.</translation>
    </message>
    <message>
        <source>The sample of &quot;%1&quot; is not a file.</source>
        <translation>Die Probe von „%1“ ist keine Datei.</translation>
    </message>
    <message>
        <source>Writing &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht geschrieben werden: %2</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no ZACQ container.</source>
        <translation>„%1“ ist kein ZACQ-Container.</translation>
    </message>
</context>
<context>
    <name>zel::zacq::ZacqFileForm</name>
    <message>
        <source>&quot;%1&quot; is no ZACQ container.</source>
        <translation>„%1“ ist kein ZACQ-Container.</translation>
    </message>
    <message>
        <source>The ZACQ container &quot;%1&quot; is not complete.</source>
        <translation>Der ZACQ-Container „%1“ ist nicht vollständig.</translation>
    </message>
    <message>
        <source>Reading &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>Copying &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht kopiert werden: %2</translation>
    </message>
</context>
<context>
    <name>zel::zacq::ZacqFolder</name>
    <message>
        <source>&quot;%1&quot; is no ZACQ container.</source>
        <translation>„%1“ ist kein ZACQ-Container.</translation>
    </message>
    <message>
        <source>Reading &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>The ZACQ container &quot;%1&quot; names no sample file.</source>
        <translation>Der ZACQ-Container „%1“ nennt keine Datei der Probe.</translation>
    </message>
</context>
<context>
    <name>zel::zacq::ZacqManifest</name>
    <message>
        <source>The manifest is not one of a ZACQ container.</source>
        <translation>Das Manifest ist nicht das eines ZACQ-Containers.</translation>
    </message>
    <message>
        <source>Version %1 of the ZACQ format is not supported.</source>
        <translation>Die Version %1 des ZACQ-Formats wird nicht unterstützt.</translation>
    </message>
    <message>
        <source>The manifest of the ZACQ container is damaged.</source>
        <translation>Das Manifest des ZACQ-Containers ist beschädigt.</translation>
    </message>
</context>
<context>
    <name>zel::zacq::ZacqWriter</name>
    <message>
        <source>The folder &quot;%1&quot; cannot be created: %2</source>
        <translation>Der Ordner „%1“ kann nicht angelegt werden: %2</translation>
    </message>
    <message>
        <source>&quot;%1&quot; exists already.</source>
        <translation>„%1“ existiert bereits.</translation>
    </message>
    <message>
        <source>The sample&apos;s name is too long.</source>
        <translation>Der Name der Probe ist zu lang.</translation>
    </message>
    <message>
        <source>Copying &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht kopiert werden: %2</translation>
    </message>
    <message>
        <source>&quot;%1&quot; has changed meanwhile.</source>
        <translation>„%1“ hat sich inzwischen geändert.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no place for a sample.</source>
        <translation>„%1“ ist kein Platz für eine Probe.</translation>
    </message>
</context>
</TS>
