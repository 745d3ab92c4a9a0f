<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>zel::AutoindexPage</name>
    <message>
        <source>The server does not list the folder in JSON (&quot;autoindex_format json&quot;).</source>
        <translation>Der Server listet den Ordner nicht in JSON auf („autoindex_format json“).</translation>
    </message>
    <message>
        <source>The server&apos;s listing of the folder makes no sense.</source>
        <translation>Das Verzeichnis des Ordners, das der Server sendet, ergibt keinen Sinn.</translation>
    </message>
    <message>
        <source>The server&apos;s listing of the folder is too long.</source>
        <translation>Das Verzeichnis des Ordners, das der Server sendet, ist zu lang.</translation>
    </message>
</context>
<context>
    <name>zel::ChecksumLines</name>
    <message>
        <source>Line %1 of the list is none of a checksum and a name.</source>
        <translation>Zeile %1 der Liste besteht nicht aus einer Prüfsumme und einem Namen.</translation>
    </message>
    <message>
        <source>There are no checksums in the list.</source>
        <translation>Die Liste enthält keine Prüfsummen.</translation>
    </message>
    <message>
        <source>There are more than %1 checksums in the list.</source>
        <translation>Die Liste enthält mehr als %1 Prüfsummen.</translation>
    </message>
</context>
<context>
    <name>zel::ContentCheck</name>
    <message>
        <source>The file has %1 bytes instead of %2.</source>
        <translation>Die Datei hat %1 statt %2 Bytes.</translation>
    </message>
    <message>
        <source>The file has the checksum %1 instead of %2.</source>
        <translation>Die Datei hat die Prüfsumme %1 statt %2.</translation>
    </message>
</context>
<context>
    <name>zel::ContentManifest</name>
    <message>
        <source>&quot;%1&quot; cannot be looked at: %2</source>
        <translation>„%1“ kann nicht untersucht werden: %2</translation>
    </message>
    <message>
        <source>There is nothing at &quot;%1&quot;.</source>
        <translation>Unter „%1“ liegt nichts.</translation>
    </message>
    <message>
        <source>This is no manifest of a resource.</source>
        <translation>Das ist kein Manifest einer Ressource.</translation>
    </message>
</context>
<context>
    <name>zel::DavClient</name>
    <message>
        <source>the server sends &quot;%1&quot; instead of a list</source>
        <translation>der Server sendet „%1“ statt einer Liste</translation>
    </message>
    <message>
        <source>the server&apos;s list is too long</source>
        <translation>die Liste des Servers ist zu lang</translation>
    </message>
    <message>
        <source>the server answered %1: %2</source>
        <translation>der Server antwortete %1: %2</translation>
    </message>
    <message>
        <source>it asks for a user name and a password, which belong into ~/.netrc</source>
        <translation>er verlangt Benutzernamen und Passwort; sie gehören in ~/.netrc</translation>
    </message>
    <message>
        <source>it does not permit this</source>
        <translation>er erlaubt dies nicht</translation>
    </message>
    <message>
        <source>nothing lies there</source>
        <translation>dort liegt nichts</translation>
    </message>
    <message>
        <source>it does not speak WebDAV there</source>
        <translation>er spricht dort kein WebDAV</translation>
    </message>
    <message>
        <source>the server tells nothing of what it was asked</source>
        <translation>der Server teilt über das Erfragte nichts mit</translation>
    </message>
    <message>
        <source>the server lists &quot;%1&quot; twice</source>
        <translation>der Server führt „%1“ zweimal auf</translation>
    </message>
    <message>
        <source>the server does not tell of &quot;%1&quot;: %2</source>
        <translation>der Server gibt über „%1“ keine Auskunft: %2</translation>
    </message>
</context>
<context>
    <name>zel::DavCollection</name>
    <message>
        <source>the server lists &quot;%1&quot;, which is no name of a file</source>
        <translation>der Server führt „%1“ auf; das ist kein Dateiname</translation>
    </message>
    <message>
        <source>the server lists &quot;%1&quot;, which does not lie in the folder</source>
        <translation>der Server führt „%1“ auf; das liegt nicht im Ordner</translation>
    </message>
    <message>
        <source>the server lists what is no path of a file</source>
        <translation>der Server führt etwas auf, das kein Pfad einer Datei ist</translation>
    </message>
</context>
<context>
    <name>zel::DavReference</name>
    <message>
        <source>The address of a WebDAV server starts with &quot;dav://&quot; or &quot;davs://&quot; and a host.</source>
        <translation>Die Adresse eines WebDAV-Servers beginnt mit „dav://“ oder „davs://“ und einem Rechnernamen.</translation>
    </message>
    <message>
        <source>The address of a WebDAV server has no query. A question mark in a name has to be written &quot;%3F&quot;.</source>
        <translation>Die Adresse eines WebDAV-Servers hat keinen Abfrageteil. Ein Fragezeichen in einem Namen ist als „%3F“ zu schreiben.</translation>
    </message>
</context>
<context>
    <name>zel::DavTasks</name>
    <message>
        <source>A checksum is for files, but %1 is a folder.</source>
        <translation>Prüfsummen gelten für Dateien, aber %1 ist ein Ordner.</translation>
    </message>
</context>
<context>
    <name>zel::DavTree</name>
    <message>
        <source>it has more than %1 folders</source>
        <translation>mehr als %1 Ordner liegen darin</translation>
    </message>
</context>
<context>
    <name>zel::ExpectedContent</name>
    <message>
        <source>Behind &quot;#&quot; a reference may have &quot;sha256=&quot; or &quot;md5=&quot; with the digits of a checksum, and &quot;size=&quot; with a number of bytes. In a name, &quot;#&quot; has to be written &quot;%23&quot;.</source>
        <translation>Hinter „#“ darf eine Referenz „sha256=“ oder „md5=“ mit den Ziffern einer Prüfsumme haben und „size=“ mit einer Anzahl von Bytes. In einem Namen ist „#“ als „%23“ zu schreiben.</translation>
    </message>
</context>
<context>
    <name>zel::FileResourceHandler</name>
    <message>
        <source>A file that is used where it lies is never cleaned up.</source>
        <translation>Eine Datei, die an ihrem Ort benutzt wird, wird nie aufgeräumt.</translation>
    </message>
</context>
<context>
    <name>zel::FolderFileSink</name>
    <message>
        <source>&quot;%1&quot; changed since the folder was listed.</source>
        <translation>„%1“ hat sich geändert, seit der Ordner aufgelistet wurde.</translation>
    </message>
    <message>
        <source>There is nothing to finish.</source>
        <translation>Es gibt nichts abzuschließen.</translation>
    </message>
</context>
<context>
    <name>zel::FolderRetrieval</name>
    <message>
        <source>%1 changed while it was fetched.</source>
        <translation>%1 hat sich während des Abrufs geändert.</translation>
    </message>
</context>
<context>
    <name>zel::FolderStaging</name>
    <message>
        <source>Moving &quot;%1&quot; to its place failed: %2</source>
        <translation>„%1“ konnte nicht an seinen Platz gebracht werden: %2</translation>
    </message>
    <message>
        <source>What was staged of the folder is not what was fetched.</source>
        <translation>Was vom Ordner bereitliegt, ist nicht das, was abgerufen wurde.</translation>
    </message>
</context>
<context>
    <name>zel::HttpDownload</name>
    <message>
        <source>%1 of %2 bytes came</source>
        <translation>%1 von %2 Bytes kamen an</translation>
    </message>
    <message>
        <source>the server refuses to send the rest of the file</source>
        <translation>der Server verweigert den Rest der Datei</translation>
    </message>
    <message>
        <source>the file has %1 bytes instead of %2</source>
        <translation>die Datei hat %1 statt %2 Bytes</translation>
    </message>
    <message>
        <source>the server sends a part of the file that was not asked for</source>
        <translation>der Server sendet einen Teil der Datei, der nicht angefordert wurde</translation>
    </message>
    <message>
        <source>more bytes came than were announced</source>
        <translation>es kamen mehr Bytes an als angekündigt</translation>
    </message>
    <message>
        <source>the file changes while it is being fetched</source>
        <translation>die Datei ändert sich während des Abrufs</translation>
    </message>
</context>
<context>
    <name>zel::HttpFailure</name>
    <message>
        <source>Unable to fetch %1: %2</source>
        <translation>%1 kann nicht abgerufen werden: %2</translation>
    </message>
    <message>
        <source>The transfer of %1 has been canceled.</source>
        <translation>Die Übertragung von %1 wurde abgebrochen.</translation>
    </message>
    <message>
        <source>the server answered %1</source>
        <translation>der Server antwortete %1</translation>
    </message>
</context>
<context>
    <name>zel::HttpRequest</name>
    <message>
        <source>the head of the server&apos;s answer is too long</source>
        <translation>der Kopf der Antwort des Servers ist zu lang</translation>
    </message>
    <message>
        <source>the server closed the connection before all bytes had come</source>
        <translation>der Server beendete die Verbindung, bevor alle Bytes angekommen waren</translation>
    </message>
    <message>
        <source>the proxy that the environment names cannot be used</source>
        <translation>der Proxy, den die Umgebung nennt, kann nicht benutzt werden</translation>
    </message>
</context>
<context>
    <name>zel::HttpSession</name>
    <message>
        <source>the network library does not start</source>
        <translation>die Netzwerkbibliothek startet nicht</translation>
    </message>
    <message>
        <source>the network library failed</source>
        <translation>die Netzwerkbibliothek meldet einen Fehler</translation>
    </message>
    <message>
        <source>the server has stopped sending</source>
        <translation>der Server sendet nicht mehr</translation>
    </message>
    <message>
        <source>the server redirects without end</source>
        <translation>der Server leitet endlos weiter</translation>
    </message>
    <message>
        <source>the server leads to an address without encryption</source>
        <translation>der Server leitet auf eine Adresse ohne Verschlüsselung weiter</translation>
    </message>
</context>
<context>
    <name>zel::HttpStagingSink</name>
    <message>
        <source>There is nothing to publish.</source>
        <translation>Es gibt nichts zu veröffentlichen.</translation>
    </message>
</context>
<context>
    <name>zel::HttpUrl</name>
    <message>
        <source>Not an address of a web server.</source>
        <translation>Keine Adresse eines Webservers.</translation>
    </message>
    <message>
        <source>the server redirects to a &quot;%1:&quot; address, which is not followed</source>
        <translation>der Server leitet zu einer „%1:“-Adresse weiter, der nicht gefolgt wird</translation>
    </message>
    <message>
        <source>the server redirects to an address that cannot be read</source>
        <translation>der Server leitet zu einer unlesbaren Adresse weiter</translation>
    </message>
</context>
<context>
    <name>zel::ListReference</name>
    <message>
        <source>The address of a list starts with &quot;%1&quot;.</source>
        <translation>Die Adresse einer Liste beginnt mit „%1“.</translation>
    </message>
    <message>
        <source>A checksum is for a list that is a file, not for a folder.</source>
        <translation>Eine Prüfsumme gilt für eine Liste, die eine Datei ist, nicht für einen Ordner.</translation>
    </message>
</context>
<context>
    <name>zel::ListSource</name>
    <message>
        <source>The server&apos;s listings of the folders are too long.</source>
        <translation>Die Verzeichnisse der Ordner, die der Server sendet, sind zu lang.</translation>
    </message>
</context>
<context>
    <name>zel::LocalTasks</name>
    <message>
        <source>&quot;%1&quot; does not exist or cannot be read.</source>
        <translation>„%1“ existiert nicht oder kann nicht gelesen werden.</translation>
    </message>
</context>
<context>
    <name>zel::ManifestStore</name>
    <message>
        <source>&quot;%1&quot; is the manifest of another resource.</source>
        <translation>„%1“ ist das Manifest einer anderen Ressource.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no manifest.</source>
        <translation>„%1“ ist kein Manifest.</translation>
    </message>
    <message>
        <source>Removing &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht entfernt werden: %2</translation>
    </message>
    <message>
        <source>Writing &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht geschrieben werden: %2</translation>
    </message>
</context>
<context>
    <name>zel::OwnFile</name>
    <message>
        <source>&quot;%1&quot; is no plain file.</source>
        <translation>„%1“ ist keine gewöhnliche Datei.</translation>
    </message>
    <message>
        <source>Reading &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is too big.</source>
        <translation>„%1“ ist zu groß.</translation>
    </message>
</context>
<context>
    <name>zel::PathReference</name>
    <message>
        <source>A file that is used where it lies takes no checksum.</source>
        <translation>Zu einer Datei, die an ihrem Ort benutzt wird, gehört keine Prüfsumme.</translation>
    </message>
    <message>
        <source>The path of another host cannot be used. Mount its share, and name the path below the place where it is mounted.</source>
        <translation>Der Pfad eines anderen Rechners ist nicht nutzbar. Dessen Freigabe ist einzuhängen und der Pfad unterhalb des Einhängepunkts anzugeben.</translation>
    </message>
    <message>
        <source>No name in a path can contain a slash or a null character.</source>
        <translation>Kein Name in einem Pfad kann einen Schrägstrich oder ein Nullzeichen enthalten.</translation>
    </message>
    <message>
        <source>The path %1 is no valid text.</source>
        <translation>Der Pfad %1 ist kein gültiger Text.</translation>
    </message>
    <message>
        <source>The path &quot;%1&quot; is not absolute.</source>
        <translation>Der Pfad „%1“ ist nicht absolut.</translation>
    </message>
    <message>
        <source>The path &quot;%1&quot; contains &quot;..&quot;.</source>
        <translation>Der Pfad „%1“ enthält „..“.</translation>
    </message>
    <message>
        <source>The path of the reference names no file or folder.</source>
        <translation>Der Pfad der Referenz nennt keine Datei und keinen Ordner.</translation>
    </message>
</context>
<context>
    <name>zel::PercentEncoding</name>
    <message>
        <source>A percent sign in a reference has to be written &quot;%25&quot;.</source>
        <translation>Ein Prozentzeichen in einer Referenz ist als „%25“ zu schreiben.</translation>
    </message>
</context>
<context>
    <name>zel::Placement</name>
    <message>
        <source>There is no room for &quot;%1&quot;.</source>
        <translation>Für „%1“ ist kein Platz.</translation>
    </message>
</context>
<context>
    <name>zel::PropfindReader</name>
    <message>
        <source>a single part of it is too long</source>
        <translation>ein einzelner Teil davon ist zu lang</translation>
    </message>
    <message>
        <source>it is not whole</source>
        <translation>sie ist nicht vollständig</translation>
    </message>
    <message>
        <source>it has a document type, which is not read</source>
        <translation>sie hat einen Dokumenttyp, der nicht gelesen wird</translation>
    </message>
    <message>
        <source>it is nested too deeply</source>
        <translation>sie ist zu tief verschachtelt</translation>
    </message>
    <message>
        <source>a part of it has too many attributes</source>
        <translation>ein Teil davon hat zu viele Attribute</translation>
    </message>
    <message>
        <source>it is no multistatus</source>
        <translation>sie ist kein Multistatus</translation>
    </message>
    <message>
        <source>it tells of something without an address</source>
        <translation>sie nennt etwas ohne Adresse</translation>
    </message>
    <message>
        <source>it tells of more than %1 resources</source>
        <translation>sie nennt mehr als %1 Ressourcen</translation>
    </message>
    <message>
        <source>the server&apos;s list cannot be read: %1</source>
        <translation>die Liste des Servers kann nicht gelesen werden: %1</translation>
    </message>
</context>
<context>
    <name>zel::RemoteDocument</name>
    <message>
        <source>The listing of the folder is too large.</source>
        <translation>Das Verzeichnis des Ordners ist zu groß.</translation>
    </message>
</context>
<context>
    <name>zel::RemoteListing</name>
    <message>
        <source>has an impossible size</source>
        <translation>hat eine unmögliche Größe</translation>
    </message>
    <message>
        <source>does not lie in the folder</source>
        <translation>liegt nicht im Ordner</translation>
    </message>
    <message>
        <source>has characters that no name may have</source>
        <translation>enthält Zeichen, die kein Name haben darf</translation>
    </message>
    <message>
        <source>is no path of a file in the folder</source>
        <translation>ist kein Pfad einer Datei im Ordner</translation>
    </message>
    <message>
        <source>is listed twice, or differs too little from &quot;%1&quot;</source>
        <translation>ist doppelt aufgeführt oder unterscheidet sich zu wenig von „%1“</translation>
    </message>
    <message>
        <source>is one entry too many</source>
        <translation>ist ein Eintrag zu viel</translation>
    </message>
    <message>
        <source>The listing cannot be used: &quot;%1&quot; %2.</source>
        <translation>Das Verzeichnis ist nicht verwendbar: „%1“ %2.</translation>
    </message>
</context>
<context>
    <name>zel::RemoteSizes</name>
    <message>
        <source>the server tells of impossible sizes of files</source>
        <translation>der Server nennt unmögliche Dateigrößen</translation>
    </message>
</context>
<context>
    <name>zel::SchemeMetadata</name>
    <message>
        <source>The description of the resource has no &quot;%1&quot;.</source>
        <translation>In der Beschreibung der Ressource fehlt „%1“.</translation>
    </message>
</context>
<context>
    <name>zel::ShareRetrieval</name>
    <message>
        <source>&quot;%1&quot; contains the cache that it is to be copied into.</source>
        <translation>„%1“ enthält den Cache, in den es kopiert werden soll.</translation>
    </message>
    <message>
        <source>%1 entries of &quot;%2&quot; were left out: links that lead out of it, or what is neither file nor folder.</source>
        <translation>%1 Einträge von „%2“ wurden ausgelassen: Verknüpfungen, die hinausführen, oder was weder Datei noch Ordner ist.</translation>
    </message>
    <message>
        <source>A checksum is for files, but &quot;%1&quot; is a folder.</source>
        <translation>Prüfsummen gelten für Dateien, aber „%1“ ist ein Ordner.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; has %2 bytes instead of %3.</source>
        <translation>„%1“ hat %2 statt %3 Bytes.</translation>
    </message>
    <message>
        <source>Making the link &quot;%1&quot; failed: %2</source>
        <translation>Die Verknüpfung „%1“ konnte nicht angelegt werden: %2</translation>
    </message>
    <message>
        <source>&quot;%1&quot; changed while it was copied.</source>
        <translation>„%1“ hat sich während des Kopierens geändert.</translation>
    </message>
</context>
<context>
    <name>zel::ShareWalk</name>
    <message>
        <source>There is no &quot;%1&quot;.</source>
        <translation>„%1“ gibt es nicht.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is neither a file nor a folder.</source>
        <translation>„%1“ ist weder eine Datei noch ein Ordner.</translation>
    </message>
    <message>
        <source>The folders in &quot;%1&quot; are too deep.</source>
        <translation>Die Ordner in „%1“ sind zu tief verschachtelt.</translation>
    </message>
    <message>
        <source>Reading &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht gelesen werden: %2</translation>
    </message>
</context>
<context>
    <name>zel::StagedFile</name>
    <message>
        <source>&quot;%1&quot; became shorter while it was read.</source>
        <translation>„%1“ wurde während des Lesens kürzer.</translation>
    </message>
    <message>
        <source>There is no room left for &quot;%1&quot;: %2</source>
        <translation>Für „%1“ ist kein Platz mehr: %2</translation>
    </message>
</context>
<context>
    <name>zel::StagedTree</name>
    <message>
        <source>Making the folder &quot;%1&quot; failed: %2</source>
        <translation>Der Ordner „%1“ konnte nicht angelegt werden: %2</translation>
    </message>
</context>
<context>
    <name>zel::StagingArea</name>
    <message>
        <source>Too many programs are fetching %1.</source>
        <translation>Zu viele Programme rufen %1 gerade ab.</translation>
    </message>
    <message>
        <source>There is no room for %1: %2 are needed, %3 are free.</source>
        <translation>Für %1 ist kein Platz: %2 werden benötigt, %3 sind frei.</translation>
    </message>
    <message>
        <source>Reading &quot;%1&quot; failed: %2</source>
        <translation>„%1“ konnte nicht gelesen werden: %2</translation>
    </message>
</context>
<context>
    <name>zel::StagingRecord</name>
    <message>
        <source>&quot;%1&quot; is not the record of a transfer.</source>
        <translation>„%1“ ist keine Aufzeichnung einer Übertragung.</translation>
    </message>
    <message>
        <source>Writing &quot;%1&quot; failed.</source>
        <translation>„%1“ konnte nicht geschrieben werden.</translation>
    </message>
</context>
<context>
    <name>zel::UrlReference</name>
    <message>
        <source>An address starts with &quot;%1://&quot; and a host.</source>
        <translation>Eine Adresse beginnt mit „%1://“ und einem Rechnernamen.</translation>
    </message>
    <message>
        <source>An address must not contain a user name or a password. They belong into the file ~/.netrc.</source>
        <translation>Eine Adresse darf weder Benutzernamen noch Passwort enthalten. Sie gehören in die Datei ~/.netrc.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not the name of a host.</source>
        <translation>„%1“ ist kein Name eines Rechners.</translation>
    </message>
    <message>
        <source>The port of an address is no number.</source>
        <translation>Der Port einer Adresse ist keine Zahl.</translation>
    </message>
</context>
</TS>
