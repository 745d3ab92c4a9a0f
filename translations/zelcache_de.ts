<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>zel::cli::AddCommand</name>
    <message>
        <source>%1 is never kept in the cache.</source>
        <translation>%1 wird nie im Cache gehalten.</translation>
    </message>
    <message>
        <source>%1 is in the cache already.</source>
        <translation>%1 ist schon im Cache.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; does not exist.</source>
        <translation>„%1“ gibt es nicht.</translation>
    </message>
    <message>
        <source>Copying %1</source>
        <translation>Kopiere %1</translation>
    </message>
</context>
<context>
    <name>zel::cli::BoardScreen</name>
    <message>
        <source>a resource that the cache does not know</source>
        <translation>eine Ressource, die der Cache nicht kennt</translation>
    </message>
    <message>
        <source>a program that is gone</source>
        <translation>ein Programm, das es nicht mehr gibt</translation>
    </message>
    <message>
        <source>process</source>
        <translation>Prozess</translation>
    </message>
    <message>
        <source>seen %1 ago</source>
        <translation>gesehen vor %1</translation>
    </message>
    <message>
        <source>silent for %1</source>
        <translation>stumm seit %1</translation>
    </message>
    <message>
        <source>dead</source>
        <translation>tot</translation>
    </message>
    <message>
        <source>dead (number reused)</source>
        <translation>tot (Nummer neu vergeben)</translation>
    </message>
    <message>
        <source>%1, %2 ago</source>
        <translation>%1, vor %2</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>%1 left</source>
        <translation>noch %1</translation>
    </message>
    <message>
        <source>The board waits for it.</source>
        <translation>Die Tafel wartet darauf.</translation>
    </message>
    <message>
        <source>Size: %1 of %2</source>
        <translation>Größe: %1 von %2</translation>
    </message>
    <message>
        <source>at most %1</source>
        <translation>höchstens %1</translation>
    </message>
    <message>
        <source>%1 free on disk</source>
        <translation>%1 frei auf dem Datenträger</translation>
    </message>
    <message>
        <source>Resources: %1 ready</source>
        <translation>Ressourcen: %1 bereit</translation>
    </message>
    <message>
        <source>%1 being fetched</source>
        <translation>%1 im Abruf</translation>
    </message>
    <message>
        <source>%1 missing</source>
        <translation>%1 fehlen</translation>
    </message>
    <message>
        <source>Fetches</source>
        <translation>Abrufe</translation>
    </message>
    <message>
        <source>Waiting</source>
        <translation>Wartende</translation>
    </message>
    <message>
        <source>Programs</source>
        <translation>Programme</translation>
    </message>
    <message>
        <source>%1 not shown</source>
        <translation>%1 nicht gezeigt</translation>
    </message>
    <message>
        <source>%1 ready</source>
        <translation>%1 bereit</translation>
    </message>
</context>
<context>
    <name>zel::cli::CacheOpening</name>
    <message>
        <source>The trace cannot be written to %1.</source>
        <translation>Die Ablaufverfolgung kann nicht nach %1 geschrieben werden.</translation>
    </message>
    <message>
        <source>The cache in %1 cannot be opened: %2</source>
        <translation>Der Cache in %1 kann nicht geöffnet werden: %2</translation>
    </message>
</context>
<context>
    <name>zel::cli::CacheReading</name>
    <message>
        <source>The cache in %1 cannot be read: %2</source>
        <translation>Der Cache in %1 kann nicht gelesen werden: %2</translation>
    </message>
</context>
<context>
    <name>zel::cli::CacheReasons</name>
    <message>
        <source>%1 in %2 held by %3</source>
        <translation>%1 in %2, gehalten von %3</translation>
    </message>
    <message>
        <source>A purge could free nothing now.</source>
        <translation>Ein Aufräumen könnte jetzt nichts freigeben.</translation>
    </message>
    <message>
        <source>A purge would take %1 now, %2, and leave %3; its target is %4.</source>
        <translation>Ein Aufräumen nähme jetzt %1 heraus, %2, und ließe %3 übrig; sein Ziel ist %4.</translation>
    </message>
    <message>
        <source>No program whose end would let the purge reach its target can be told.</source>
        <translation>Es lässt sich kein Programm nennen, dessen Ende das Aufräumen sein Ziel erreichen ließe.</translation>
    </message>
    <message>
        <source>process %1</source>
        <translation>Prozess %1</translation>
    </message>
    <message>
        <source>Closing %1 lets the purge reach its target.</source>
        <translation>Das Ende von %1 lässt das Aufräumen sein Ziel erreichen.</translation>
    </message>
    <message>
        <source> and </source>
        <translation> und </translation>
    </message>
    <message>
        <source>%1 of %2: the cache is within its sizes.</source>
        <translation>%1 von %2: der Cache hält seine Größen ein.</translation>
    </message>
    <message>
        <source>%1 over the optimal size of %2.</source>
        <translation>%1 über der optimalen Größe von %2.</translation>
    </message>
    <message>
        <source>The maximum of %1 is exceeded too.</source>
        <translation>Auch die höchste von %1 ist überschritten.</translation>
    </message>
    <message>
        <source>%1 is being fetched by %2</source>
        <translation>%1 wird gerade abgerufen von %2</translation>
    </message>
    <message>
        <source>%1 of unknown size, which no purge takes</source>
        <translation>%1 von unbekannter Größe, was kein Aufräumen herausnimmt</translation>
    </message>
    <message>
        <source>without a ping it stops counting in %1 s</source>
        <translation>ohne Lebenszeichen zählt es in %1 s nicht mehr</translation>
    </message>
    <message>
        <source>Once what is not alive has stopped counting, closing %1 lets the purge reach its target.</source>
        <translation>Sobald nicht mehr zählt, was nicht lebt, lässt das Ende von %1 das Aufräumen sein Ziel erreichen.</translation>
    </message>
    <message>
        <source>The purge reaches its target once what is not alive has stopped counting.</source>
        <translation>Das Aufräumen erreicht sein Ziel, sobald nicht mehr zählt, was nicht lebt.</translation>
    </message>
</context>
<context>
    <name>zel::cli::CacheReport</name>
    <message>
        <source>%1 ready, %2 being fetched, %3 missing</source>
        <translation>%1 bereit, %2 im Abruf, %3 fehlen</translation>
    </message>
    <message>
        <source>process %1</source>
        <translation>Prozess %1</translation>
    </message>
    <message>
        <source>none</source>
        <translation>keine</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>a process that is gone</source>
        <translation>ein Prozess, den es nicht mehr gibt</translation>
    </message>
    <message>
        <source>waiting</source>
        <translation>wartet</translation>
    </message>
    <message>
        <source>Cache</source>
        <translation>Cache</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>%1 of %2, at most %3</source>
        <translation>%1 von %2, höchstens %3</translation>
    </message>
    <message>
        <source>Free on disk</source>
        <translation>Frei auf dem Datenträger</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>unbekannt</translation>
    </message>
    <message>
        <source>Resources</source>
        <translation>Ressourcen</translation>
    </message>
    <message>
        <source>Programs</source>
        <translation>Programme</translation>
    </message>
    <message>
        <source>Last count</source>
        <translation>Letzte Zählung</translation>
    </message>
    <message>
        <source>never</source>
        <translation>nie</translation>
    </message>
    <message>
        <source>Fetches:</source>
        <translation>Abrufe:</translation>
    </message>
    <message>
        <source>silent for %1</source>
        <translation>stumm seit %1</translation>
    </message>
    <message>
        <source>dead or not to be seen from here, last seen %1 ago</source>
        <translation>tot oder von hier nicht zu sehen, letztes Lebenszeichen vor %1</translation>
    </message>
    <message>
        <source>dead, its number is another program&apos;s now, last seen %1 ago</source>
        <translation>tot, die Nummer gehört jetzt einem anderen Programm, letztes Lebenszeichen vor %1</translation>
    </message>
</context>
<context>
    <name>zel::cli::ClientChecks</name>
    <message>
        <source>Its number now belongs to another process (%1), which cannot open the cache. The client is gone and was last heard of %2 ago.</source>
        <translation>Seine Nummer gehört jetzt einem anderen Prozess (%1), der den Cache nicht öffnen kann. Das Programm ist weg und gab vor %2 das letzte Lebenszeichen.</translation>
    </message>
    <message>
        <source>It lives, but was last heard of %1 ago; the others take it for dead.</source>
        <translation>Er lebt, gab aber vor %1 das letzte Lebenszeichen; die anderen halten ihn für tot.</translation>
    </message>
    <message>
        <source>The process is gone and was last heard of %1 ago; what it used and fetched is still entered.</source>
        <translation>Der Prozess ist weg und gab vor %1 das letzte Lebenszeichen; was er benutzte und abrief, ist noch eingetragen.</translation>
    </message>
    <message>
        <source>Usages (%1) and fetches (%2) belong to clients that are gone.</source>
        <translation>Zu Programmen, die es nicht mehr gibt, gehören Benutzungen (%1) und Abrufe (%2).</translation>
    </message>
</context>
<context>
    <name>zel::cli::ConfigCommand</name>
    <message>
        <source>There is no setting &quot;%1&quot;, only %2.</source>
        <translation>Es gibt keine Einstellung „%1“, nur %2.</translation>
    </message>
    <message>
        <source>%1 is not set in %2: %3</source>
        <translation>%1 wird in %2 nicht gesetzt: %3</translation>
    </message>
    <message>
        <source>it has lines that are no settings; mend or remove them first.</source>
        <translation>sie enthält Zeilen, die keine Einstellungen sind; erst sind diese zu berichtigen oder zu entfernen.</translation>
    </message>
    <message>
        <source>The comments of %1 are gone.</source>
        <translation>Die Kommentare von %1 sind weg.</translation>
    </message>
    <message>
        <source>The file does not exist yet; the defaults count.</source>
        <translation>Die Datei gibt es noch nicht; es gelten die Vorgaben.</translation>
    </message>
</context>
<context>
    <name>zel::cli::Context</name>
    <message>
        <source>canceled</source>
        <translation>abgebrochen</translation>
    </message>
</context>
<context>
    <name>zel::cli::DataPlaces</name>
    <message>
        <source>&quot;%1&quot; lies in the data directory, which other programs spell in another way.</source>
        <translation>„%1“ liegt im Datenverzeichnis, das andere Programme anders schreiben.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; lies in the data directory itself, without a folder of its own: what removes it removes all data.</source>
        <translation>„%1“ liegt im Datenverzeichnis selbst, ohne eigenen Ordner: was es entfernt, entfernt alle Daten.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; lies outside of the data directory: what removes it removes the folder around it.</source>
        <translation>„%1“ liegt außerhalb des Datenverzeichnisses: was es entfernt, entfernt den Ordner darum.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; lies in the folder of a scheme itself, without a folder of its own: what removes it removes all data of the scheme.</source>
        <translation>„%1“ liegt im Ordner eines Schemas selbst, ohne eigenen Ordner: was es entfernt, entfernt alle Daten des Schemas.</translation>
    </message>
</context>
<context>
    <name>zel::cli::DatabaseChecks</name>
    <message>
        <source>The cache counts %1 bytes, its resources have %2 in all. It removes too much or too little.</source>
        <translation>Der Cache zählt %1 Bytes, seine Ressourcen haben zusammen %2. Er entfernt zu viel oder zu wenig.</translation>
    </message>
    <message>
        <source>CacheMetadata has %1 rows instead of one.</source>
        <translation>CacheMetadata hat %1 Zeilen statt einer.</translation>
    </message>
    <message>
        <source>Its journal mode is &quot;%1&quot; instead of &quot;wal&quot;; each write waits for the disk.</source>
        <translation>Ihr Journalmodus ist „%1“ statt „wal“; jedes Schreiben wartet auf den Datenträger.</translation>
    </message>
    <message>
        <source>The sizes were last counted in the future, at %1; until then they are not counted again.</source>
        <translation>Die Größen wurden zuletzt in der Zukunft gezählt, am %1; bis dahin werden sie nicht wieder gezählt.</translation>
    </message>
</context>
<context>
    <name>zel::cli::DiskChecks</name>
    <message>
        <source>No row claims it, but it is so new that a program may be about to.</source>
        <translation>Keine Zeile beansprucht es, aber es ist so neu, dass ein Programm gerade dabei sein mag.</translation>
    </message>
    <message>
        <source>No row claims it: %1.</source>
        <translation>Keine Zeile beansprucht es: %1.</translation>
    </message>
    <message>
        <source>a fetch</source>
        <translation>einen Abruf</translation>
    </message>
    <message>
        <source>It was collected for %1, and nobody will go on with it.</source>
        <translation>Es wurde für %1 gesammelt, und niemand wird damit fortfahren.</translation>
    </message>
    <message numerus="yes">
        <source>The data directory cannot be read, but %n resources are Ready.</source>
        <translation>
            <numerusform>Das Datenverzeichnis kann nicht gelesen werden, aber %n Ressource ist Ready.</numerusform>
            <numerusform>Das Datenverzeichnis kann nicht gelesen werden, aber %n Ressourcen sind Ready.</numerusform>
        </translation>
    </message>
    <message>
        <source>The folder cannot be read, so what is in it was not looked at.</source>
        <translation>Der Ordner kann nicht gelesen werden; was darin ist, wurde nicht betrachtet.</translation>
    </message>
    <message>
        <source>No row claims it, but a program that lives fetches to its folder.</source>
        <translation>Keine Zeile beansprucht es, aber ein lebendes Programm ruft in seinen Ordner ab.</translation>
    </message>
    <message>
        <source>A removal, a copy or a fetch that was interrupted has left it: %1.</source>
        <translation>Ein unterbrochenes Entfernen, Kopieren oder Abrufen hat es hinterlassen: %1.</translation>
    </message>
    <message>
        <source>The data directory cannot be read, but 1 resource is Ready.</source>
        <translation>Das Datenverzeichnis kann nicht gelesen werden, aber 1 Ressource ist Ready.</translation>
    </message>
</context>
<context>
    <name>zel::cli::DoctorCommand</name>
    <message>
        <source>Left:</source>
        <translation>Übrig:</translation>
    </message>
</context>
<context>
    <name>zel::cli::DoctorReport</name>
    <message>
        <source>note</source>
        <translation>Hinweis</translation>
    </message>
    <message>
        <source>warning</source>
        <translation>Warnung</translation>
    </message>
    <message>
        <source>error</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>and %1 more of %2</source>
        <translation>und %1 weitere von %2</translation>
    </message>
    <message>
        <source>Plan:</source>
        <translation>Plan:</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>und %1 weitere</translation>
    </message>
    <message>
        <source>The cache is in good order.</source>
        <translation>Der Cache ist in guter Ordnung.</translation>
    </message>
    <message numerus="yes">
        <source>%n damages</source>
        <translation>
            <numerusform>%n Schaden</numerusform>
            <numerusform>%n Schäden</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n repairs</source>
        <translation>
            <numerusform>%n Reparatur</numerusform>
            <numerusform>%n Reparaturen</numerusform>
        </translation>
    </message>
    <message>
        <source>all repaired</source>
        <translation>alles repariert</translation>
    </message>
    <message numerus="yes">
        <source>%n left</source>
        <translation>
            <numerusform>%n bleibt</numerusform>
            <numerusform>%n bleiben</numerusform>
        </translation>
    </message>
    <message>
        <source>1 damage</source>
        <translation>1 Schaden</translation>
    </message>
    <message>
        <source>1 repair</source>
        <translation>1 Reparatur</translation>
    </message>
    <message>
        <source>interrupted after %1</source>
        <translation>unterbrochen nach %1</translation>
    </message>
    <message>
        <source>1 plan</source>
        <translation>1 Plan</translation>
    </message>
    <message numerus="yes">
        <source>%n plans</source>
        <translation>
            <numerusform>%n Plan</numerusform>
            <numerusform>%n Pläne</numerusform>
        </translation>
    </message>
    <message>
        <source>Then it is looked again. What this brings to light is repaired as well, with at most %1 more.</source>
        <translation>Danach wird noch einmal nachgesehen. Was dabei ans Licht kommt, wird auch repariert, mit höchstens %1 mehr.</translation>
    </message>
</context>
<context>
    <name>zel::cli::EnteringDanger</name>
    <message>
        <source>Nothing is done: the cache would then remove what follows by itself, and other data with it.</source>
        <translation>Nichts geschieht: Der Cache würde dabei von selbst entfernen, was folgt, und andere Daten mit.</translation>
    </message>
</context>
<context>
    <name>zel::cli::FetchPlanning</name>
    <message>
        <source>%1. Room for it cannot be made: %2</source>
        <translation>%1. Der Platz dafür kann nicht geschaffen werden: %2</translation>
    </message>
    <message>
        <source>Made room: %1, %2</source>
        <translation>Platz geschaffen: %1, %2</translation>
    </message>
    <message>
        <source>canceled</source>
        <translation>abgebrochen</translation>
    </message>
    <message>
        <source>Nothing is fetched: to make room for it would take more than what is to go.</source>
        <translation>Nichts wird abgerufen: Dafür Platz zu schaffen nähme mehr mit als das, was gehen soll.</translation>
    </message>
    <message>
        <source>%1; --force fetches nevertheless, &quot;zelcache why&quot; tells what fills the cache</source>
        <translation>%1; --force ruft trotzdem ab, „zelcache why“ sagt, was den Cache füllt</translation>
    </message>
</context>
<context>
    <name>zel::cli::Finding</name>
    <message>
        <source>&quot;zelcache doctor --repair&quot; mends it.</source>
        <translation>„zelcache doctor --repair“ behebt es.</translation>
    </message>
    <message>
        <source>Move what lies there out of the way. Then &quot;zelcache doctor --repair&quot; forgets it, and &quot;zelcache get&quot; fetches the resource to its place. Do not remove the resource before.</source>
        <translation>Was dort liegt, aus dem Weg räumen. Dann vergisst „zelcache doctor --repair“ es, und „zelcache get“ ruft die Ressource an ihren Platz ab. Die Ressource nicht vorher entfernen.</translation>
    </message>
    <message>
        <source>What removes the one takes the other&apos;s data along: &quot;zelcache doctor --repair&quot; mends its row then, and &quot;zelcache get&quot; fetches both anew.</source>
        <translation>Was die eine entfernt, nimmt die Daten der anderen mit: „zelcache doctor --repair“ behebt dann deren Zeile, und „zelcache get“ ruft beide neu ab.</translation>
    </message>
    <message>
        <source>If its volume is not mounted, mount it. If the data is gone for good, make the directory: then &quot;zelcache doctor --repair&quot; mends the rows.</source>
        <translation>Ist sein Datenträger nicht eingehängt, ihn einhängen. Sind die Daten endgültig weg, das Verzeichnis anlegen: dann behebt „zelcache doctor --repair“ die Zeilen.</translation>
    </message>
    <message>
        <source>If nobody fetches it, it can be removed once it is older.</source>
        <translation>Ruft es niemand ab, kann es entfernt werden, sobald es älter ist.</translation>
    </message>
    <message>
        <source>Give yourself the right to read it, or run the program as its owner.</source>
        <translation>Sich das Leserecht geben oder das Programm als sein Eigentümer ausführen.</translation>
    </message>
    <message>
        <source>&quot;zelcache doctor --repair&quot; mends it once the client has been silent for 30 s.</source>
        <translation>„zelcache doctor --repair“ behebt es, sobald das Programm 30 s stumm ist.</translation>
    </message>
    <message>
        <source>Let the process go on if it is stopped, or end it.</source>
        <translation>Den Prozess fortsetzen, falls er angehalten ist, oder beenden.</translation>
    </message>
    <message>
        <source>Put the cache on a local disk: &quot;zelcache config set CacheLocationPath DIR&quot;.</source>
        <translation>Den Cache auf einen lokalen Datenträger legen: „zelcache config set CacheLocationPath DIR“.</translation>
    </message>
    <message>
        <source>Set a smaller one: &quot;zelcache config set MaximumCacheSize SIZE&quot;.</source>
        <translation>Eine kleinere setzen: „zelcache config set MaximumCacheSize SIZE“.</translation>
    </message>
    <message>
        <source>Set one of them: &quot;zelcache config set OptimalCacheSize SIZE&quot;.</source>
        <translation>Eine von beiden setzen: „zelcache config set OptimalCacheSize SIZE“.</translation>
    </message>
    <message>
        <source>Let all programs use one spelling of the base directory. When none of the others runs, the other lock&apos;s file can be removed.</source>
        <translation>Alle Programme das Basisverzeichnis auf eine Art schreiben lassen. Läuft keins der anderen, kann die Datei der anderen Sperre entfernt werden.</translation>
    </message>
    <message>
        <source>Let all programs name the base directory in this way.</source>
        <translation>Alle Programme das Basisverzeichnis so nennen lassen.</translation>
    </message>
    <message>
        <source>It is given back when the operation is done, or when its process ends.</source>
        <translation>Sie wird zurückgegeben, wenn der Vorgang fertig ist oder sein Prozess endet.</translation>
    </message>
    <message>
        <source>Close all programs and remove the semaphore: &quot;ipcs -s&quot; shows it, &quot;ipcrm -s&quot; removes it.</source>
        <translation>Alle Programme schließen und den Semaphor entfernen: „ipcs -s“ zeigt ihn, „ipcrm -s“ entfernt ihn.</translation>
    </message>
    <message>
        <source>Let one user own the cache, or let each have a temporary folder of his own.</source>
        <translation>Den Cache einem Benutzer geben oder jedem einen eigenen Ordner für Temporäres.</translation>
    </message>
    <message>
        <source>Let all programs have the same temporary folder (TMPDIR) and the same owner.</source>
        <translation>Allen Programmen denselben Ordner für Temporäres (TMPDIR) und denselben Eigentümer geben.</translation>
    </message>
    <message>
        <source>Start all programs with the same temporary folder (TMPDIR).</source>
        <translation>Alle Programme mit demselben Ordner für Temporäres (TMPDIR) starten.</translation>
    </message>
    <message>
        <source>Give each user a cache of his own.</source>
        <translation>Jedem Benutzer einen eigenen Cache geben.</translation>
    </message>
    <message>
        <source>A repair leaves it alone as things are now; look again later.</source>
        <translation>Eine Reparatur rührt es nicht an, wie die Dinge jetzt stehen; später noch einmal nachsehen.</translation>
    </message>
    <message>
        <source>Nothing is repaired as long as the database is damaged or the lock is stuck. Mend that first; then &quot;zelcache doctor --repair&quot; mends this.</source>
        <translation>Nichts wird repariert, solange die Datenbank beschädigt ist oder die Sperre festhängt. Das ist zuerst zu beheben; dann behebt „zelcache doctor --repair“ auch dies.</translation>
    </message>
    <message>
        <source>A newer program may have written it. Otherwise remove it: its resource can be verified again once it is fetched anew.</source>
        <translation>Ein neueres Programm kann es geschrieben haben. Sonst ist es zu entfernen: Seine Ressource lässt sich wieder prüfen, sobald sie neu abgerufen ist.</translation>
    </message>
    <message>
        <source>The database has no tables. If it was lost, put it back. If it is to be empty, open the cache once, as &quot;zelcache get&quot; does: then &quot;zelcache doctor --repair&quot; removes it.</source>
        <translation>Die Datenbank hat keine Tabellen. Ging sie verloren, ist sie zurückzulegen. Soll sie leer sein, ist der Cache einmal zu öffnen, wie es „zelcache get“ tut: Dann entfernt „zelcache doctor --repair“ es.</translation>
    </message>
    <message>
        <source>To count all sizes would hide that data is damaged. Mend that first; then &quot;zelcache doctor --repair&quot; mends this.</source>
        <translation>Alle Größen zu zählen würde verbergen, dass Daten beschädigt sind. Das zuerst beheben; dann behebt „zelcache doctor --repair“ dies.</translation>
    </message>
    <message>
        <source>A newer program may know it. Otherwise &quot;zelcache remove --force REF&quot; removes it, and &quot;zelcache get REF&quot; fetches it anew.</source>
        <translation>Ein neueres Programm kennt ihn vielleicht. Sonst entfernt „zelcache remove --force REF“ die Ressource, und „zelcache get REF“ ruft sie neu ab.</translation>
    </message>
    <message>
        <source>Let all programs use one spelling of the base directory. Then &quot;zelcache remove REF&quot; and &quot;zelcache get REF&quot; fetch the resource anew.</source>
        <translation>Alle Programme das Basisverzeichnis auf eine Art schreiben lassen. Dann rufen „zelcache remove REF“ und „zelcache get REF“ die Ressource neu ab.</translation>
    </message>
    <message>
        <source>&quot;zelcache verify REF&quot; tells what is damaged. &quot;zelcache remove REF&quot; and &quot;zelcache get REF&quot; fetch it anew.</source>
        <translation>„zelcache verify REF“ sagt, was beschädigt ist. „zelcache remove REF“ und „zelcache get REF“ rufen sie neu ab.</translation>
    </message>
    <message>
        <source>It may be cut off: &quot;zelcache remove REF&quot; and &quot;zelcache get REF&quot; fetch it anew. If it is as it should be, &quot;zelcache recount REF&quot; counts it anew.</source>
        <translation>Sie kann abgeschnitten sein: „zelcache remove REF“ und „zelcache get REF“ rufen sie neu ab. Ist sie, wie sie sein soll, zählt „zelcache recount REF“ sie neu.</translation>
    </message>
    <message>
        <source>Close all programs, move the file aside, with its -wal and -shm if there are any, and fetch anew what is needed.</source>
        <translation>Alle Programme schließen, die Datei beiseitelegen, mit ihrer -wal und -shm, falls es sie gibt, und neu abrufen, was gebraucht wird.</translation>
    </message>
    <message>
        <source>Close all programs. Some builds of sqlite3 can save much: &quot;sqlite3 ResourceCache.db .recover&quot; prints it for a new file. Otherwise move the file aside, with its -wal and -shm if there are any, and fetch anew what is needed.</source>
        <translation>Alle Programme schließen. Manche Ausgaben von sqlite3 können vieles retten: „sqlite3 ResourceCache.db .recover“ gibt es für eine neue Datei aus. Sonst die Datei beiseitelegen, mit ihrer -wal und -shm, falls es sie gibt, und neu abrufen, was gebraucht wird.</translation>
    </message>
</context>
<context>
    <name>zel::cli::FitPlan</name>
    <message>
        <source>%1 to fetch, %2</source>
        <translation>%1 abzurufen, %2</translation>
    </message>
    <message>
        <source>Does not fit the cache: %1 afterwards, at most %2</source>
        <translation>Passt nicht in den Cache: danach %1, höchstens %2</translation>
    </message>
    <message>
        <source>Does not fit the disk: %1 to come, %2 free, %3 can go, %4 stay free</source>
        <translation>Passt nicht auf den Datenträger: %1 kommen, %2 sind frei, %3 können weichen, %4 bleiben frei</translation>
    </message>
    <message>
        <source>Fits: %1 afterwards, at most %2</source>
        <translation>Passt: danach %1, höchstens %2</translation>
    </message>
    <message>
        <source>Fits as far as sizes are known: %1 afterwards, at most %2</source>
        <translation>Passt, soweit Größen bekannt sind: danach %1, höchstens %2</translation>
    </message>
    <message>
        <source>Time: about %1</source>
        <translation>Dauer: etwa %1</translation>
    </message>
    <message>
        <source>Time: unknown</source>
        <translation>Dauer: unbekannt</translation>
    </message>
    <message>
        <source>fetch</source>
        <translation>abrufen</translation>
    </message>
    <message>
        <source>evict</source>
        <translation>entfernen</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>unbekannt</translation>
    </message>
    <message>
        <source>%1 to fetch, of unknown size</source>
        <translation>%1 abzurufen, von unbekannter Größe</translation>
    </message>
    <message>
        <source>%1 to fetch, %2 without the %3 of unknown size</source>
        <translation>%1 abzurufen, %2 ohne die %3 unbekannter Größe</translation>
    </message>
    <message>
        <source>not there</source>
        <translation>nicht da</translation>
    </message>
    <message>
        <source>&quot;zelcache why&quot; tells what fills the cache.</source>
        <translation>„zelcache why“ sagt, was den Cache füllt.</translation>
    </message>
</context>
<context>
    <name>zel::cli::FormatReport</name>
    <message>
        <source>file or folder</source>
        <translation>Datei oder Ordner</translation>
    </message>
    <message>
        <source>file</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>folder</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>NAME</source>
        <translation>NAME</translation>
    </message>
    <message>
        <source>KIND</source>
        <translation>ART</translation>
    </message>
    <message>
        <source>EXTENSION</source>
        <translation>ENDUNG</translation>
    </message>
    <message>
        <source>DESCRIPTION</source>
        <translation>BESCHREIBUNG</translation>
    </message>
</context>
<context>
    <name>zel::cli::FormatsCommand</name>
    <message>
        <source>&quot;%1&quot; does not exist.</source>
        <translation>„%1“ gibt es nicht.</translation>
    </message>
</context>
<context>
    <name>zel::cli::GetRequests</name>
    <message>
        <source>canceled</source>
        <translation>abgebrochen</translation>
    </message>
    <message>
        <source>The copy in the cache is not what was fetched. %1 &quot;zelcache remove %2&quot; lets it be fetched anew.</source>
        <translation>Die Kopie im Cache ist nicht das, was abgerufen wurde. %1 Nach &quot;zelcache remove %2&quot; kann sie neu abgerufen werden.</translation>
    </message>
    <message>
        <source>It cannot be read.</source>
        <translation>Sie kann nicht gelesen werden.</translation>
    </message>
    <message>
        <source>The data is gone again.</source>
        <translation>Die Daten sind schon wieder weg.</translation>
    </message>
    <message>
        <source>Verifying %1</source>
        <translation>Prüfe %1</translation>
    </message>
    <message>
        <source>%1: It cannot be verified. %2</source>
        <translation>%1: Kann nicht geprüft werden. %2</translation>
    </message>
    <message>
        <source>The fetch was refused.</source>
        <translation>Der Abruf wurde abgelehnt.</translation>
    </message>
</context>
<context>
    <name>zel::cli::HeldProgram</name>
    <message>
        <source>There is no program %1.</source>
        <translation>Es gibt kein Programm %1.</translation>
    </message>
    <message>
        <source>%1 cannot be started: %2</source>
        <translation>%1 kann nicht gestartet werden: %2</translation>
    </message>
</context>
<context>
    <name>zel::cli::HoldCommand</name>
    <message>
        <source>--json and a command exclude each other: standard output is the command&apos;s</source>
        <translation>--json und ein Befehl schließen einander aus: die Standardausgabe gehört dem Befehl</translation>
    </message>
</context>
<context>
    <name>zel::cli::Holders</name>
    <message>
        <source>process %1</source>
        <translation>Prozess %1</translation>
    </message>
    <message>
        <source>fetches</source>
        <translation>ruft ab</translation>
    </message>
    <message>
        <source>waits</source>
        <translation>wartet</translation>
    </message>
    <message>
        <source>uses</source>
        <translation>benutzt</translation>
    </message>
    <message numerus="yes">
        <source>%n times</source>
        <translation>
            <numerusform>%n-mal</numerusform>
            <numerusform>%n-mal</numerusform>
        </translation>
    </message>
    <message>
        <source>a program that is gone</source>
        <translation>ein Programm, das es nicht mehr gibt</translation>
    </message>
    <message>
        <source>%1, last ping %2 ago</source>
        <translation>%1, letztes Lebenszeichen vor %2</translation>
    </message>
    <message>
        <source>%1, silent for %2: it holds nothing any more</source>
        <translation>%1, stumm seit %2: hält nichts mehr</translation>
    </message>
    <message>
        <source>%1, dead or not to be seen from here, last ping %2 ago</source>
        <translation>%1, tot oder von hier nicht zu sehen, letztes Lebenszeichen vor %2</translation>
    </message>
    <message>
        <source>%1, dead: the number belongs to another program now, last ping %2 ago</source>
        <translation>%1, tot: die Nummer gehört jetzt einem anderen Programm, letztes Lebenszeichen vor %2</translation>
    </message>
</context>
<context>
    <name>zel::cli::InfoCommand</name>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Source</source>
        <translation>Quelle</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>Modified</source>
        <translation>Geändert</translation>
    </message>
    <message>
        <source>Reference</source>
        <translation>Referenz</translation>
    </message>
    <message>
        <source>Local path</source>
        <translation>Lokaler Pfad</translation>
    </message>
    <message>
        <source>Is there</source>
        <translation>Ist da</translation>
    </message>
    <message>
        <source>yes</source>
        <translation>ja</translation>
    </message>
    <message>
        <source>no</source>
        <translation>nein</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>Local size</source>
        <translation>Lokale Größe</translation>
    </message>
    <message>
        <source>Status since</source>
        <translation>Status seit</translation>
    </message>
</context>
<context>
    <name>zel::cli::ListSelection</name>
    <message>
        <source>There is no order &quot;%1&quot;, only %2.</source>
        <translation>Es gibt keine Reihenfolge „%1“, nur %2.</translation>
    </message>
    <message>
        <source>There is no status &quot;%1&quot;, only %2.</source>
        <translation>Es gibt keinen Status „%1“, nur %2.</translation>
    </message>
    <message>
        <source>There is no format &quot;%1&quot;, only %2.</source>
        <translation>Es gibt kein Format „%1“, nur %2.</translation>
    </message>
</context>
<context>
    <name>zel::cli::LockChecks</name>
    <message>
        <source>%1 processes can hold the lock at the same time.</source>
        <translation>%1 Prozesse können die Sperre zugleich halten.</translation>
    </message>
    <message>
        <source>The process that holds the lock is gone; %1 wait for it.</source>
        <translation>Der Prozess, der die Sperre hält, ist weg; Wartende: %1.</translation>
    </message>
    <message>
        <source>The lock is held by %1; %2 wait for it.</source>
        <translation>Die Sperre wird von %1 gehalten; Wartende: %2.</translation>
    </message>
    <message>
        <source>The base directory is locked by %1, but not through the lock &quot;%2&quot; of this program.</source>
        <translation>Das Basisverzeichnis ist von %1 gesperrt, aber nicht durch die Sperre „%2“ dieses Programms.</translation>
    </message>
    <message>
        <source>It runs as &quot;%1&quot;, who cannot have the lock of &quot;%2&quot;.</source>
        <translation>Er läuft als „%1“, der die Sperre von „%2“ nicht haben kann.</translation>
    </message>
    <message>
        <source>Its temporary folder is &quot;%1&quot; and not &quot;%2&quot;: it has another lock.</source>
        <translation>Sein Ordner für Temporäres ist „%1“ und nicht „%2“: er hat eine andere Sperre.</translation>
    </message>
    <message>
        <source>The lock belongs to &quot;%1&quot;, and this user may not take it.</source>
        <translation>Die Sperre gehört „%1“, und dieser Benutzer darf sie nicht nehmen.</translation>
    </message>
    <message>
        <source>The base directory is locked, by whom cannot be seen.</source>
        <translation>Das Basisverzeichnis ist gesperrt, von wem, ist nicht zu sehen.</translation>
    </message>
</context>
<context>
    <name>zel::cli::Main</name>
    <message>
        <source>The answer cannot be written: %1</source>
        <translation>Die Antwort kann nicht geschrieben werden: %1</translation>
    </message>
</context>
<context>
    <name>zel::cli::OutdatedCommand</name>
    <message>
        <source>%1 is in use by %2</source>
        <translation>%1 wird von %2 benutzt</translation>
    </message>
    <message>
        <source>Removing</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Still outdated: %1.</source>
        <translation>Immer noch veraltet: %1.</translation>
    </message>
    <message>
        <source>Nothing is removed: that would take more than what is outdated.</source>
        <translation>Nichts wird entfernt: Das nähme mehr mit als das, was veraltet ist.</translation>
    </message>
</context>
<context>
    <name>zel::cli::OutdatedResources</name>
    <message>
        <source>none</source>
        <translation>keine</translation>
    </message>
    <message>
        <source>%1 would go, %2</source>
        <translation>%1 zu entfernen, %2</translation>
    </message>
    <message>
        <source>%1 removed, %2 freed</source>
        <translation>%1 entfernt, %2 freigegeben</translation>
    </message>
</context>
<context>
    <name>zel::cli::Output</name>
    <message>
        <source>error: </source>
        <translation>Fehler: </translation>
    </message>
    <message>
        <source>warning: </source>
        <translation>Warnung: </translation>
    </message>
</context>
<context>
    <name>zel::cli::OverallProgress</name>
    <message>
        <source>%1 and %2 more</source>
        <translation>%1 und %2 weitere</translation>
    </message>
</context>
<context>
    <name>zel::cli::PathCommand</name>
    <message>
        <source>The resource is not there yet.</source>
        <translation>Die Ressource ist noch nicht da.</translation>
    </message>
</context>
<context>
    <name>zel::cli::PlaceChecks</name>
    <message>
        <source>The cache may have %1, its volume has %2 in all; it is full before the cache is.</source>
        <translation>Der Cache darf %1 haben, sein Datenträger hat insgesamt %2; er ist voll, bevor der Cache es ist.</translation>
    </message>
    <message>
        <source>The optimal size, %1, is above the maximum, %2.</source>
        <translation>Die optimale Größe, %1, liegt über der höchsten, %2.</translation>
    </message>
    <message>
        <source>It leads to &quot;%1&quot;. A program that names it so has another lock.</source>
        <translation>Es führt zu „%1“. Ein Programm, das es so nennt, hat eine andere Sperre.</translation>
    </message>
    <message>
        <source>Programs have used it as &quot;%1&quot; too, with another lock: &quot;%2&quot;.</source>
        <translation>Programme haben es auch als „%1“ benutzt, mit einer anderen Sperre: „%2“.</translation>
    </message>
    <message>
        <source>It lies on a network file system (%1), where the lock does not keep other machines out and the database may be damaged.</source>
        <translation>Es liegt auf einem Netzlaufwerk (%1), wo die Sperre andere Rechner nicht fernhält und die Datenbank beschädigt werden kann.</translation>
    </message>
</context>
<context>
    <name>zel::cli::PolicyCommand</name>
    <message>
        <source>The cache does not know %1 any more.</source>
        <translation>Der Cache kennt %1 nicht mehr.</translation>
    </message>
    <message>
        <source>The cache does not know %1.</source>
        <translation>Der Cache kennt %1 nicht.</translation>
    </message>
</context>
<context>
    <name>zel::cli::ProgressBar</name>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>%1 left</source>
        <translation>noch %1</translation>
    </message>
    <message>
        <source>fetched by process %1</source>
        <translation>abgerufen von Prozess %1</translation>
    </message>
</context>
<context>
    <name>zel::cli::PurgeCommand</name>
    <message>
        <source>Nothing is removed: a purge would take more than what is to go.</source>
        <translation>Nichts wird entfernt: Ein Aufräumen nähme mehr mit als das, was gehen soll.</translation>
    </message>
    <message>
        <source>Removing</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>The purge cannot be cut short: the program ends when it is done. Another signal ends it at once.</source>
        <translation>Das Aufräumen kann nicht abgekürzt werden: das Programm endet, wenn es fertig ist. Ein weiteres Signal beendet es sofort.</translation>
    </message>
</context>
<context>
    <name>zel::cli::RecountCommand</name>
    <message>
        <source>its data is gone from the cache.</source>
        <translation>ihre Daten sind aus dem Cache verschwunden.</translation>
    </message>
    <message numerus="yes">
        <source>Counting %n resources</source>
        <translation>
            <numerusform>Zähle %n Ressource</numerusform>
            <numerusform>Zähle %n Ressourcen</numerusform>
        </translation>
    </message>
    <message>
        <source>The count cannot be cut short: the program ends when it is done. Another signal ends it at once.</source>
        <translation>Die Zählung kann nicht abgekürzt werden: das Programm endet, wenn sie fertig ist. Ein weiteres Signal beendet es sofort.</translation>
    </message>
    <message>
        <source>its data lies outside of the cache.</source>
        <translation>ihre Daten liegen außerhalb des Caches.</translation>
    </message>
    <message>
        <source>it is not in the cache.</source>
        <translation>sie ist nicht im Cache.</translation>
    </message>
    <message>
        <source>canceled</source>
        <translation>abgebrochen</translation>
    </message>
    <message>
        <source>Counting %1</source>
        <translation>Zähle %1</translation>
    </message>
    <message>
        <source>Counting 1 resource</source>
        <translation>Zähle 1 Ressource</translation>
    </message>
</context>
<context>
    <name>zel::cli::RecountReport</name>
    <message>
        <source>%1 -&gt; %2 bytes</source>
        <translation>%1 -&gt; %2 Bytes</translation>
    </message>
    <message>
        <source>Whole cache: %1, as before</source>
        <translation>Ganzer Cache: %1, wie zuvor</translation>
    </message>
    <message>
        <source>Whole cache: %1</source>
        <translation>Ganzer Cache: %1</translation>
    </message>
</context>
<context>
    <name>zel::cli::ReferenceList</name>
    <message>
        <source>The list %1 cannot be read: %2</source>
        <translation>Die Liste %1 kann nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>The list %1 is longer than 64 MiB.</source>
        <translation>Die Liste %1 ist länger als 64 MiB.</translation>
    </message>
</context>
<context>
    <name>zel::cli::RemovalDanger</name>
    <message>
        <source>&quot;zelcache doctor&quot; tells what helps.</source>
        <translation>„zelcache doctor“ sagt, was hilft.</translation>
    </message>
    <message>
        <source>... and %1 more</source>
        <translation>... und noch %1</translation>
    </message>
</context>
<context>
    <name>zel::cli::RemovalReport</name>
    <message>
        <source>%1 is in use by %2</source>
        <translation>%1 wird von %2 benutzt</translation>
    </message>
    <message>
        <source>%1 has no known size, so that a purge leaves it alone</source>
        <translation>%1 hat keine bekannte Größe, sodass kein Aufräumen sie anrührt</translation>
    </message>
    <message>
        <source>%1 could not be removed</source>
        <translation>%1 konnte nicht entfernt werden</translation>
    </message>
    <message>
        <source>%1 has changed while the purge ran</source>
        <translation>%1 hat sich während des Aufräumens geändert</translation>
    </message>
    <message>
        <source>%1 would go, %2; %3 would be left</source>
        <translation>%1 zu entfernen, %2; %3 blieben übrig</translation>
    </message>
    <message>
        <source>%1 removed, %2 freed; %3 left</source>
        <translation>%1 entfernt, %2 freigegeben; %3 bleiben</translation>
    </message>
    <message>
        <source>1 resource</source>
        <translation>1 Ressource</translation>
    </message>
    <message numerus="yes">
        <source>%n resources</source>
        <translation>
            <numerusform>%n Ressource</numerusform>
            <numerusform>%n Ressourcen</numerusform>
        </translation>
    </message>
    <message>
        <source>... and %1 more</source>
        <translation>... und noch %1</translation>
    </message>
</context>
<context>
    <name>zel::cli::RemovalVerdict</name>
    <message>
        <source>It is wanted.</source>
        <translation>Sie wird gewünscht.</translation>
    </message>
    <message>
        <source>It is wanted by %1.</source>
        <translation>Sie wird von %1 gewünscht.</translation>
    </message>
    <message>
        <source>It is being fetched.</source>
        <translation>Sie wird gerade abgerufen.</translation>
    </message>
    <message>
        <source>It is being fetched by %1.</source>
        <translation>Sie wird gerade von %1 abgerufen.</translation>
    </message>
    <message>
        <source>Nothing is there to remove.</source>
        <translation>Es ist nichts da, was zu entfernen wäre.</translation>
    </message>
    <message>
        <source>Its cleanup policy is none that this program knows.</source>
        <translation>Ihre Aufräumregel ist keine, die dieses Programm kennt.</translation>
    </message>
    <message>
        <source>Its cleanup policy is Never; --force removes it all the same.</source>
        <translation>Ihre Aufräumregel ist Never; --force entfernt sie trotzdem.</translation>
    </message>
    <message>
        <source>The cache does not know it.</source>
        <translation>Der Cache kennt sie nicht.</translation>
    </message>
    <message>
        <source>It is in use by %1.</source>
        <translation>Sie wird von %1 benutzt.</translation>
    </message>
    <message>
        <source>Its status is none that this program knows; --force removes it all the same.</source>
        <translation>Ihr Status ist keiner, den dieses Programm kennt; --force entfernt sie trotzdem.</translation>
    </message>
</context>
<context>
    <name>zel::cli::RemoveCommand</name>
    <message>
        <source>Its data could not be removed.</source>
        <translation>Ihre Daten konnten nicht entfernt werden.</translation>
    </message>
    <message>
        <source>Meanwhile it has come into use by %1.</source>
        <translation>Inzwischen wird sie von %1 benutzt.</translation>
    </message>
    <message>
        <source>Interrupted before it was removed.</source>
        <translation>Unterbrochen, bevor sie entfernt wurde.</translation>
    </message>
</context>
<context>
    <name>zel::cli::Repair</name>
    <message>
        <source>Open the cache, which takes out the dead and what they left.</source>
        <translation>Den Cache öffnen, was die Toten und ihre Hinterlassenschaften austrägt.</translation>
    </message>
    <message>
        <source>Set &quot;%1&quot; to Missing: nobody fetches it.</source>
        <translation>„%1“ auf Missing setzen: niemand ruft sie ab.</translation>
    </message>
    <message>
        <source>Set the path of &quot;%1&quot; to &quot;%2&quot;: its data lies there.</source>
        <translation>Den Pfad von „%1“ auf „%2“ setzen: dort liegen ihre Daten.</translation>
    </message>
    <message>
        <source>Set &quot;%1&quot; to Missing: its data is gone.</source>
        <translation>„%1“ auf Missing setzen: ihre Daten sind weg.</translation>
    </message>
    <message>
        <source>Remove &quot;%1&quot;: its resource is Missing.</source>
        <translation>„%1“ entfernen: die Ressource ist Missing.</translation>
    </message>
    <message>
        <source>Count the size of &quot;%1&quot; anew.</source>
        <translation>Die Größe von „%1“ neu zählen.</translation>
    </message>
    <message>
        <source>Count all sizes anew.</source>
        <translation>Alle Größen neu zählen.</translation>
    </message>
    <message>
        <source>Sum up the sizes of all resources anew, in the one row of sums.</source>
        <translation>Die Größen aller Ressourcen neu summieren, in der einen Zeile der Summen.</translation>
    </message>
    <message>
        <source>Remove what fetches have left and nobody will go on with.</source>
        <translation>Entfernen, was Abrufe hinterlassen haben und niemand fortsetzen wird.</translation>
    </message>
    <message>
        <source>Remove &quot;%1&quot;: nobody claims it.</source>
        <translation>„%1“ entfernen: niemand beansprucht es.</translation>
    </message>
    <message>
        <source>nobody fetches it</source>
        <translation>niemand ruft sie ab</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is gone.</source>
        <translation>„%1“ ist weg.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is there again.</source>
        <translation>„%1“ ist wieder da.</translation>
    </message>
    <message>
        <source>Move &quot;%1&quot; back to where it was: &quot;%2&quot; lies there.</source>
        <translation>„%1“ dorthin zurückbewegen, wo es war: „%2“ liegt dort.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; cannot be moved back.</source>
        <translation>„%1“ kann nicht zurückbewegt werden.</translation>
    </message>
    <message>
        <source>Clear path and size of &quot;%1&quot;: it is Missing.</source>
        <translation>Pfad und Größe von „%1“ leeren: Sie ist Missing.</translation>
    </message>
</context>
<context>
    <name>zel::cli::ResourceReasons</name>
    <message>
        <source>It is not here. Whether it ever was, and why it went, the cache does not record.</source>
        <translation>Sie ist nicht hier. Ob sie es je war und warum sie ging, hält der Cache nicht fest.</translation>
    </message>
    <message>
        <source>Its policy removes it with the end of its last use.</source>
        <translation>Ihre Regel entfernt sie mit dem Ende der letzten Benutzung.</translation>
    </message>
    <message>
        <source>It is here and stays, since it is in use.</source>
        <translation>Sie ist hier und bleibt, da sie benutzt wird.</translation>
    </message>
    <message>
        <source>It is here, and the next purge takes it.</source>
        <translation>Sie ist hier, und das nächste Aufräumen nimmt sie heraus.</translation>
    </message>
    <message>
        <source>It is here. Nobody uses it, and a purge would leave it alone now.</source>
        <translation>Sie ist hier. Niemand benutzt sie, und ein Aufräumen ließe sie jetzt in Ruhe.</translation>
    </message>
    <message>
        <source>The cache has it as ready, but nothing lies at its path.</source>
        <translation>Der Cache führt sie als bereit, aber unter ihrem Pfad liegt nichts.</translation>
    </message>
    <message>
        <source>It is being fetched.</source>
        <translation>Sie wird gerade abgerufen.</translation>
    </message>
    <message>
        <source>Its fetch stands still: the program that fetched it is gone or silent.</source>
        <translation>Ihr Abruf steht still: das Programm, das sie abrief, ist weg oder stumm.</translation>
    </message>
    <message>
        <source>It is wanted, and no program has begun to fetch it.</source>
        <translation>Sie wird gewünscht, und kein Programm hat mit dem Abruf begonnen.</translation>
    </message>
    <message>
        <source>It was wanted, but the cache knows no program that still wants it.</source>
        <translation>Sie wurde gewünscht, aber der Cache kennt kein Programm, das sie noch wünscht.</translation>
    </message>
    <message>
        <source>Its status is none that this program knows.</source>
        <translation>Ihr Status ist keiner, den dieses Programm kennt.</translation>
    </message>
    <message>
        <source>none</source>
        <translation>keine</translation>
    </message>
    <message>
        <source>%1; whether it is outdated is unknown, since this program cannot read the reference</source>
        <translation>%1; ob sie veraltet ist, ist unbekannt, da dieses Programm die Referenz nicht lesen kann</translation>
    </message>
    <message>
        <source>%1, not outdated</source>
        <translation>%1, nicht veraltet</translation>
    </message>
    <message>
        <source>%1, outdated: the reference declares %2</source>
        <translation>%1, veraltet: die Referenz nennt %2</translation>
    </message>
    <message>
        <source>number %1 of %2 in line, behind %3</source>
        <translation>Nummer %1 von %2 in der Reihe, hinter %3</translation>
    </message>
    <message>
        <source>not in line, since it is in use</source>
        <translation>nicht in der Reihe, da sie benutzt wird</translation>
    </message>
    <message>
        <source>not in line, since nothing is here</source>
        <translation>nicht in der Reihe, da nichts hier ist</translation>
    </message>
    <message>
        <source>not in line, since its size is not known</source>
        <translation>nicht in der Reihe, da ihre Größe nicht bekannt ist</translation>
    </message>
    <message>
        <source>%1 (%2 ago); what was before is not recorded</source>
        <translation>%1 (vor %2); was vorher war, ist nicht festgehalten</translation>
    </message>
    <message>
        <source>Reference</source>
        <translation>Referenz</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>Written by</source>
        <translation>Geschrieben von</translation>
    </message>
    <message>
        <source>Policy</source>
        <translation>Regel</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>unbekannt</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>Purge</source>
        <translation>Aufräumen</translation>
    </message>
    <message>
        <source>Program</source>
        <translation>Programm</translation>
    </message>
    <message>
        <source>Status since</source>
        <translation>Status seit</translation>
    </message>
    <message>
        <source>Its fetch stands still: the program that fetched it is dead, or cannot be seen from here. Until it has been silent for 30 s, nobody takes over.</source>
        <translation>Ihr Abruf steht still: Das Programm, das sie abrief, ist tot oder von hier nicht zu sehen. Bevor es 30 s geschwiegen hat, übernimmt niemand.</translation>
    </message>
</context>
<context>
    <name>zel::cli::ResourceUsers</name>
    <message>
        <source>process %1</source>
        <translation>Prozess %1</translation>
    </message>
</context>
<context>
    <name>zel::cli::ResourceVerification</name>
    <message>
        <source>Its data is gone.</source>
        <translation>Ihre Daten sind weg.</translation>
    </message>
    <message>
        <source>There is no manifest of its fetch.</source>
        <translation>Es gibt kein Manifest ihres Abrufs.</translation>
    </message>
    <message>
        <source>It was put here after the fetch that its manifest tells of.</source>
        <translation>Sie wurde nach dem Abruf hierher gebracht, von dem ihr Manifest berichtet.</translation>
    </message>
    <message>
        <source>By its name it is a folder acquisition (%1), but it lacks its index.</source>
        <translation>Dem Namen nach ist sie eine Messung in einem Ordner (%1), aber ihr Verzeichnis fehlt.</translation>
    </message>
    <message>
        <source>By its name it is a file of a known format (%1), but its data does not show that.</source>
        <translation>Dem Namen nach ist sie eine Datei eines bekannten Formats (%1), aber ihre Daten zeigen das nicht.</translation>
    </message>
    <message>
        <source>%1 or the like</source>
        <translation>%1 oder Ähnliches</translation>
    </message>
    <message>
        <source>What was found cannot be kept: %1</source>
        <translation>Was gefunden wurde, kann nicht festgehalten werden: %1</translation>
    </message>
</context>
<context>
    <name>zel::cli::RowChecks</name>
    <message>
        <source>It is said to be fetched, but no living process fetches it.</source>
        <translation>Sie wird angeblich abgerufen, aber kein lebender Prozess ruft sie ab.</translation>
    </message>
    <message>
        <source>Its status is none that this program knows.</source>
        <translation>Ihr Status ist keiner, den dieses Programm kennt.</translation>
    </message>
    <message>
        <source>It is Ready, but has no path.</source>
        <translation>Sie ist Ready, hat aber keinen Pfad.</translation>
    </message>
    <message>
        <source>It is Ready, but there is nothing at &quot;%1&quot;.</source>
        <translation>Sie ist Ready, aber unter „%1“ liegt nichts.</translation>
    </message>
    <message>
        <source>There is nothing at &quot;%1&quot;, but its data lies at &quot;%2&quot;.</source>
        <translation>Unter „%1“ liegt nichts, aber ihre Daten liegen unter „%2“.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is also the path of %2.</source>
        <translation>„%1“ ist auch der Pfad von %2.</translation>
    </message>
    <message>
        <source>The cache counts %1 bytes, on the disk it has %2.</source>
        <translation>Der Cache zählt %1 Bytes, auf dem Datenträger sind es %2.</translation>
    </message>
    <message>
        <source>It is Missing, but something lies at &quot;%1&quot;.</source>
        <translation>Sie ist Missing, aber unter „%1“ liegt etwas.</translation>
    </message>
    <message>
        <source>There is nothing at &quot;%1&quot;, but a repair that was interrupted has moved its data to &quot;%2&quot;.</source>
        <translation>Unter „%1“ liegt nichts, aber eine unterbrochene Reparatur hat die Daten nach „%2“ bewegt.</translation>
    </message>
    <message>
        <source>It is Missing, but the cache counts %1 bytes for it.</source>
        <translation>Sie ist Missing, aber der Cache zählt %1 Bytes für sie.</translation>
    </message>
</context>
<context>
    <name>zel::cli::SettingValue</name>
    <message>
        <source>is a list, since a comma without quotes parts it; the default counts</source>
        <translation>ist eine Liste, da ein Komma ohne Anführungszeichen trennt; es gilt die Vorgabe</translation>
    </message>
    <message>
        <source>is empty; the default counts</source>
        <translation>ist leer; es gilt die Vorgabe</translation>
    </message>
    <message>
        <source>is no absolute directory: &quot;%1&quot;</source>
        <translation>ist kein absolutes Verzeichnis: „%1“</translation>
    </message>
    <message>
        <source>is no whole number of bytes: &quot;%1&quot;; it counts as 0</source>
        <translation>ist keine ganze Zahl von Bytes: „%1“; es gilt 0</translation>
    </message>
    <message>
        <source>is no size that a cache can have: %1</source>
        <translation>ist keine Größe, die ein Cache haben kann: %1</translation>
    </message>
    <message>
        <source>a directory must not be empty.</source>
        <translation>ein Verzeichnis darf nicht leer sein.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no absolute directory.</source>
        <translation>„%1“ ist kein absolutes Verzeichnis.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a directory.</source>
        <translation>„%1“ ist kein Verzeichnis.</translation>
    </message>
    <message>
        <source>the optimal size %1 would be above the maximum %2.</source>
        <translation>die optimale Größe %1 läge über der höchsten %2.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no size above 0; write bytes, or 500MiB, 1.5TiB.</source>
        <translation>„%1“ ist keine Größe über 0; anzugeben sind Bytes oder etwa 500MiB, 1.5TiB.</translation>
    </message>
</context>
<context>
    <name>zel::cli::SettingsReport</name>
    <message>
        <source>%1 in %2 counts for nothing; letter case counts: %3</source>
        <translation>%1 in %2 gilt nicht; Groß- und Kleinschreibung zählt: %3</translation>
    </message>
    <message>
        <source>%1 in %2 %3</source>
        <translation>%1 in „%2“ %3</translation>
    </message>
    <message>
        <source>%1 cannot be read; the defaults count</source>
        <translation>%1 kann nicht gelesen werden; es gelten die Vorgaben</translation>
    </message>
    <message>
        <source>%1 has lines that are no settings; they count for nothing</source>
        <translation>%1 hat Zeilen, die keine Einstellungen sind; sie gelten nicht</translation>
    </message>
    <message>
        <source>%1 in %2 puts the optimal size %3 above the maximum %4</source>
        <translation>%1 in %2 setzt die optimale Größe %3 über die höchste %4</translation>
    </message>
    <message>
        <source>command line</source>
        <translation>Befehlszeile</translation>
    </message>
    <message>
        <source>ini file</source>
        <translation>Ini-Datei</translation>
    </message>
    <message>
        <source>default</source>
        <translation>Vorgabe</translation>
    </message>
</context>
<context>
    <name>zel::cli::SourceSizes</name>
    <message>
        <source>Its source tells no size.</source>
        <translation>Die Quelle nennt keine Größe.</translation>
    </message>
    <message>
        <source>Its source has not answered in time.</source>
        <translation>Die Quelle hat nicht rechtzeitig geantwortet.</translation>
    </message>
    <message>
        <source>Asking for sizes</source>
        <translation>Größen werden erfragt</translation>
    </message>
</context>
<context>
    <name>zel::cli::TerminalPrompting</name>
    <message>
        <source>y</source>
        <translation>j</translation>
    </message>
    <message>
        <source>yes</source>
        <translation>ja</translation>
    </message>
    <message>
        <source>Fetch it? [y/N]</source>
        <translation>Abrufen? [j/N]</translation>
    </message>
    <message numerus="yes">
        <source>Fetch these %n resources? [y/N]</source>
        <translation>
            <numerusform>Diese %n Ressource abrufen? [j/N]</numerusform>
            <numerusform>Diese %n Ressourcen abrufen? [j/N]</numerusform>
        </translation>
    </message>
    <message>
        <source>Nobody can be asked, since standard input is no terminal; --yes answers in advance.</source>
        <translation>Niemand kann gefragt werden, da die Standardeingabe kein Terminal ist; --yes antwortet im Voraus.</translation>
    </message>
</context>
<context>
    <name>zel::cli::UnclaimedData</name>
    <message>
        <source>&quot;%1&quot; is claimed by now and stays.</source>
        <translation>„%1“ wird inzwischen beansprucht und bleibt.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; cannot be removed.</source>
        <translation>„%1“ kann nicht entfernt werden.</translation>
    </message>
    <message>
        <source>It was interrupted.</source>
        <translation>Es wurde unterbrochen.</translation>
    </message>
</context>
<context>
    <name>zel::cli::VerifyCommand</name>
    <message>
        <source>It is not in the cache.</source>
        <translation>Sie ist nicht im Cache.</translation>
    </message>
    <message>
        <source>It has left the cache meanwhile.</source>
        <translation>Sie hat den Cache inzwischen verlassen.</translation>
    </message>
</context>
<context>
    <name>zel::cli::VerifyReport</name>
    <message>
        <source>intact</source>
        <translation>unversehrt</translation>
    </message>
    <message>
        <source>not reached</source>
        <translation>nicht erreicht</translation>
    </message>
    <message>
        <source>no manifest</source>
        <translation>kein Manifest</translation>
    </message>
    <message>
        <source>unreadable</source>
        <translation>unlesbar</translation>
    </message>
    <message>
        <source>changed</source>
        <translation>verändert</translation>
    </message>
    <message>
        <source>truncated</source>
        <translation>abgeschnitten</translation>
    </message>
    <message>
        <source>incomplete</source>
        <translation>unvollständig</translation>
    </message>
    <message>
        <source>%1 has %2 bytes instead of %3.</source>
        <translation>%1 hat %2 statt %3 Bytes.</translation>
    </message>
    <message>
        <source>%1 differs from what was fetched.</source>
        <translation>%1 weicht von dem ab, was abgerufen wurde.</translation>
    </message>
    <message>
        <source>%1 differs from what was fetched, somewhere behind byte %2.</source>
        <translation>%1 weicht von dem ab, was abgerufen wurde, irgendwo hinter Byte %2.</translation>
    </message>
    <message>
        <source>%1 is cut off: %2 of %3 bytes.</source>
        <translation>%1 ist abgeschnitten: %2 von %3 Bytes.</translation>
    </message>
    <message>
        <source>%1 is missing.</source>
        <translation>%1 fehlt.</translation>
    </message>
    <message>
        <source>%1 cannot be read: %2.</source>
        <translation>%1 kann nicht gelesen werden: %2.</translation>
    </message>
    <message>
        <source>%1 came in after the fetch.</source>
        <translation>%1 kam nach dem Abruf hinzu.</translation>
    </message>
    <message numerus="yes">
        <source>And %n more files.</source>
        <translation>
            <numerusform>Und noch %n Datei.</numerusform>
            <numerusform>Und noch %n Dateien.</numerusform>
        </translation>
    </message>
    <message>
        <source>Read %1: %2</source>
        <translation>%1 gelesen: %2</translation>
    </message>
    <message>
        <source>nothing to verify</source>
        <translation>nichts zu prüfen</translation>
    </message>
    <message>
        <source>bad manifest</source>
        <translation>defektes Manifest</translation>
    </message>
    <message>
        <source>Manifests of what has left the cache: %1, removed.</source>
        <translation>Manifeste von dem, was den Cache verlassen hat: %1, entfernt.</translation>
    </message>
    <message>
        <source>Here since %1; nobody uses it.</source>
        <translation>Hier seit %1; niemand benutzt sie.</translation>
    </message>
    <message>
        <source>Here since %1; in use by %2.</source>
        <translation>Hier seit %1; benutzt von %2.</translation>
    </message>
    <message>
        <source>And 1 more file.</source>
        <translation>Und noch 1 Datei.</translation>
    </message>
</context>
<context>
    <name>zel::cli::VerifyRun</name>
    <message>
        <source>Reading %1</source>
        <translation>Lese %1</translation>
    </message>
</context>
<context>
    <name>zel::cli::WhoCommand</name>
    <message>
        <source>Nobody uses it, fetches it or waits for it.</source>
        <translation>Niemand benutzt sie, ruft sie ab oder wartet auf sie.</translation>
    </message>
    <message>
        <source>The cache does not know it.</source>
        <translation>Der Cache kennt sie nicht.</translation>
    </message>
</context>
<context>
    <name>zel::cli::WhyCommand</name>
    <message>
        <source>The cache does not know it.</source>
        <translation>Der Cache kennt sie nicht.</translation>
    </message>
</context>
</TS>
