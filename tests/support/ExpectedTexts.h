#pragma once

#include <string>

#include "framework/Language.h"
#include "framework/MessageText.h"

// The user texts that tests expect, written down independently of the program.
namespace expected {

// A text with placeholders %1 to %9. operator() fills in the values and returns the text in the process's
// language; In does the same in a given language.
struct Message
{
    Text text;

    template <class... Values>
    [[nodiscard]] std::wstring operator()(const Values&... values) const
    {
        return In(LanguageOf(g_nLanguage), values...);
    }
    template <class... Values>
    [[nodiscard]] std::wstring In(Language language, const Values&... values) const
    {
        return FillPlaceholders(text.In(language), {values...});
    }
};

// Main dialog
inline constexpr Text kHeaders[] = {{L"Original Normteil-Dateien", L"Original Standard-Part-Files"},
                                    {L"Umbenannt nach...", L"Renamed to..."},
                                    {L"Benennung d. Stücklisteneintrags", L"BOM names"}};
inline constexpr Text kMapView{L"Inhalt der Map-Datei wird angezeigt", L"Showing contents of the Map-File"};
inline constexpr Text kFolderView{L"Inhalt des Normteil-Verzeichnisses wird angezeigt",
                                  L"Showing contents of the standard part folder"};
inline constexpr Text kListChanged{L" (Liste geändert)", L" (list changed)"};
inline constexpr Text kNoPartsFolder{
    L"Norm-Input-Verzeichnis nicht vorhanden!\n\n"
    L"Normteil-Verzeichnis und -Dateien müssen manuell gewählt werden.",
    L"Norm-Input-Directory not available!\n\n"
    L"Standard part directory and files have to be selected manually."};
inline constexpr Text kAddParts{L"Normteile hinzufügen...", L"Add standart parts..."};
inline constexpr Text kSearchResults{
    L"Dateien aus Suchergebnissen lassen sich nicht hinzufügen.\nBitte die Dateien in ihrem Ordner "
    L"auswählen.",
    L"Files in the results of a search cannot be added.\nPlease choose the files in their folder."};
inline constexpr Text kFolderInUse{
    L"Ein anderes Talvenor auf diesem Rechner setzt gerade denselben Ordner um.",
    L"Another Talvenor on this computer is converting the same folder."};
inline constexpr Text kPickFolder{L"Quellordner der Normteile auswählen:",
                                  L"Select the standard part folder:"};
inline constexpr Text kChangeFolder{
    L"Soll das Quellverzeichnis wirklich geändert werden?\n\n"
    L"Wenn JA, dann werden alle Normteillisteneinträge im Fenster verworfen.",
    L"Do you really want to change the standard part folder?\n\n"
    L"If YES, then all standard part entries are removed from list."};
inline constexpr Text kAddFromOtherFolder{
    L"Soll das Quellverzeichnis wirklich geändert werden?\n\nWenn JA, dann werden alle bisherigen "
    L"Normteillisteneinträge im Fenster verworfen\nund die neu ausgewählten eingefügt.",
    L"Do you really want to change the standard part folder?\n\nIf YES, then all previous selected standard "
    L"part entries are removed from list\nand the new selections are inserted."};
inline constexpr Text kNoSuchFolder{L"Das Quellverzeichnis existiert nicht!\nBitte Eingabe korrigieren.",
                                    L"The source directory does not exist!\nPlease check input."};
inline constexpr Text kRemoveAll{L"Wirklich alle Einträge löschen?",
                                 L"Do you really want to remove all list entries?"};
inline constexpr Text kPartFiles{L"SW-Dateien (*.sldprt;*.sldasm)", L"SW Files (*.sldprt;*.sldasm)"};
inline constexpr Message MapMissing{{L"Map-Datei '%1' nicht vorhanden.", L"Map-File '%1' not available."}};
// %1: the "Mapped" folder.
inline constexpr Message OverwriteMap{
    {L"Die Map-Datei 'PartsMap.txt' existiert bereits in '%1'.\n\nSoll die Datei überschrieben werden?",
     L"The Map-File 'PartsMap.txt' already exists in '%1'.\n\nDo you want to overwrite this file?"}};

// List menus and template dialog
inline constexpr Text kDeleteRows{L"&Löschen", L"&Delete"};
inline constexpr Text kUseTemplate{L"Schablone &anwenden", L"&Use template"};
inline constexpr Text kEditTemplate{L"Schablone ansehen/&bearbeiten...", L"View/&Modify template..."};
inline constexpr Text kFileTemplate{L"Schablone Zieldatei bearbeiten", L"View/Modify file template"};
inline constexpr Text kBomTemplate{L"Schablone Stücklisteneintrag bearbeiten", L"View/Modify BOM template"};
inline constexpr Text kFillInRefused{L"Platzhalter %2 für Konfigurationsnamen ist nicht erlaubt.",
                                     L"You cannot use the fill-in %2 for configuration names."};
inline constexpr Text kPreviewRefused{L"(%2 ist in Dateinamen nicht erlaubt)",
                                      L"(%2 is not allowed in file names)"};
inline constexpr Text kSampleConfiguration{L"Standard", L"Default"};

// Report
inline constexpr Message ReportNotWritten{
    {L"Der Bericht kann nicht geschrieben werden.\n%1.", L"The report cannot be written.\n%1."}};
inline constexpr Message ReportNotShown{
    {L"Der Bericht '%1' kann nicht angezeigt werden.", L"The report '%1' cannot be shown."}};
// %1 and %2: numbers.
inline constexpr Message NotInList{{L"Zu markierende Zeilen, die nicht in der Liste sind: %1 von %2",
                                    L"Rows to select that are not in the list: %1 of %2"}};

// The menu of "Further commands"
inline constexpr Text kUndo{L"&Rückgängig", L"&Undo"};
inline constexpr Text kRedo{L"Wieder&herstellen", L"&Redo"};
inline constexpr Text kImport{L"&Importieren...", L"&Import..."};
inline constexpr Text kExport{L"E&xportieren...", L"E&xport..."};
inline constexpr Text kSelectAttention{L"&Auffällige Zeilen der letzten Umsetzung markieren",
                                       L"&Select what needs attention in the last conversion"};

// About box
inline constexpr Text kAboutCommand{L"&Über Talvenor...", L"&About Talvenor..."};
inline constexpr Text kAbout{L"Über Talvenor", L"About Talvenor"};

// Names edited by hand or made by a template
inline constexpr Text kForbiddenInFileName{
    L"Folgende Zeichen sind in Dateinamen nicht erlaubt:\n\t|  /  \\  *  :  \"  ?  <  >  ;  =\n\n"
    L"Diese Zeichen werden nun automatisch durch Unterstriche '_' ersetzt.",
    L"The following characters are not allowed to use in file names:\n\t|  /  \\  *  :  \"  ?  <  >  ;  =\n\n"
    L"These characters are automatically replaced by underscores '_'."};
inline constexpr Text kForbiddenInBomName{
    L"Folgende Zeichen sind in den Feature-/Komponenten-Namen von SOLIDWORKS nicht erlaubt:\n"
    L"\t@  /  ; =\n\nDiese Zeichen werden nun automatisch durch Unterstriche '_' ersetzt.",
    L"The following characters are not allowed to use in feature-/component names of SOLIDWORKS:\n"
    L"\t@  /  ; =\n\nThese characters are automatically replaced by underscores '_'."};
inline constexpr Text kNameTaken{L"Der angegebene Dateiname ist schon vorhanden.",
                                 L"The file name is not unique."};
inline constexpr Text kGeneratedNameTaken{
    L"Ein generierter Dateiname ist bereits vorhanden.\nDer vorhandene Dateiname bleibt erhalten.",
    L"A generated file name is not unique.\nSkip this file."};

// The table as text. %1 to %5: numbers.
inline constexpr Message Taken{
    {L"Geänderte Zeilen: %1\n\nNicht in der Liste: %2\nDateiname schon vorhanden: %3\n"
     L"Mehrfach und verschieden genannt: %4\nZellen mit ersetzten Zeichen: %5",
     L"Rows changed: %1\n\nNot in the list: %2\nFile name not unique: %3\n"
     L"Named more than once, differently: %4\nCells with replaced characters: %5"}};
inline constexpr Text kClipboardInUse{L"Die Zwischenablage wird gerade von einem anderen Programm benutzt.",
                                      L"The clipboard is being used by another program."};
inline constexpr Text kImportTable{L"Tabelle importieren...", L"Import table..."};
inline constexpr Text kExportTable{L"Tabelle exportieren...", L"Export table..."};

// Start
inline constexpr Text kNoResources{L"Ressource DLL kann nicht geladen werden!\nDatei: .\\talvresgerx64.dll",
                                   L"Cannot load Resource DLL!\nFile: .\\talvresusx64.dll"};

// The reader of the map file. The main dialog's reader shows German texts in both languages.
inline constexpr Message MapNotRead{{L"FEHLER: Datei '%1' kann nicht zum Lesen geöffnet werden!",
                                     L"ERROR: File '%1' cannot be opened for read access!"}};
// %1: the number of the line, %2: the path.
inline constexpr Message SyntaxError{
    {L"Syntax-Fehler in Zeile %1 in\n%2\n\nDie Datei konnte nicht vollständig ausgewertet werden.",
     L"Syntax-Error in line %1 in\n%2\n\nThe file could not be evaluated completely."}};

// Run
inline constexpr Text kLoadingCad{L"Lade SOLIDWORKS...", L"Loading SOLIDWORKS..."};
inline constexpr Text kCadNotLoaded{
    L"SOLIDWORKS konnte nicht geladen werden.\nDie Anwendung ist entweder "
    L"nicht installiert, oder die Installation ist zerstört.",
    L"Could not load SOLIDWORKS.\nThe application either is not installed, "
    L"or the installation is corrupt."};
inline constexpr Text kCadTooOld{L"SOLIDWORKS 99/250 muss mindestens installiert sein.",
                                 L"SOLIDWORKS 99/250 is required."};
inline constexpr Message MapNotWritten{{L"FEHLER: Datei %1 kann nicht zum Schreiben geöffnet werden!",
                                        L"ERROR: File %1 cannot be opened for write access!"}};
inline constexpr Message RecordsMissing{
    {L"FEHLER: Datei %1 kann nicht geschrieben werden!\n"
     L"Die betroffenen Normteile fehlen in dieser Datei.",
     L"ERROR: File %1 cannot be written!\nThe standard parts concerned are missing from this file."}};
// %1: the source, %2: the file error.
inline constexpr Message SourceNotOpened{
    {L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\nDie Quell-Datei \"%1\" konnte nicht geöffnet "
     L"werden.\n"
     L"Error: %2.\nMöglicherweise ist die Datei derzeit in Verwendung.",
     L"Filecopy failed!\n\nThe source file \"%1\" could not be opened.\n"
     L"Error: %2.\nMaybe the file is already in use."}};
// %1: the source, %2: the target, %3: the file error. The English text names the source only.
inline constexpr Message TargetNotOpened{
    {L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\nDie Ziel-Datei \"%2\" konnte nicht geöffnet werden.\n"
     L"Error: %3.\nMöglicherweise ist die Datei derzeit in Verwendung.",
     L"Filecopy failed!\n\nThe target file \"%1\" could not be opened.\n"
     L"Error: %3.\nMaybe the file is already in use."}};
inline constexpr Message NotCopied{
    {L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\n"
     L"Schreib-/Lesefehler beim Kopieren von\n\"%1\" nach\n\"%2\".\nError: %3",
     L"Filecopy failed!\n\nRead/write error while copying of\n\"%1\" to\n\"%2\".\nError: %3"}};
inline constexpr Message NoFolder{
    {L"Verzeichnis '%1' kann nicht angelegt werden.", L"Cannot create directory '%1'."}};
inline constexpr Message NoFolderAsFileThere{
    {L"Verzeichnis '%1' kann nicht angelegt werden.\nEs existiert bereits eine Datei mit dem gleichen Namen.",
     L"Cannot create directory '%1'.\nA file with the same name exists."}};
inline constexpr Text kEndCad{L"SOLIDWORKS antwortet nicht.\n\nSoll SOLIDWORKS beendet werden?",
                              L"SOLIDWORKS is not responding.\n\nDo you want to end SOLIDWORKS?"};
inline constexpr Text kStopWaiting{L"SOLIDWORKS antwortet nicht.\n\nSoll nicht länger gewartet werden?",
                                   L"SOLIDWORKS is not responding.\n\nDo you want to stop waiting?"};
inline constexpr const wchar_t* kUnknownError = L"unknown error";
inline constexpr Text kCopy{L"Kopiere: ", L"Copy: "};
inline constexpr Text kCopyTo{L"nach: ", L"to: "};
inline constexpr Text kCurrentFile{L"Bearbeite Datei: ", L"Current file: "};
inline constexpr Text kNewBomEntry{L"Setze neuen Stückl.-Eintrag:  ", L"Set new BOM entry:  "};
inline constexpr Text kSavingFile{L"Schreibe Datei...", L"Saving file..."};
inline constexpr Text kCurrentConfiguration{L"Aktuelle Konfiguration:  ", L"Current Configuration:  "};
inline constexpr Text kReallyCancel{
    L"Wirklich abbrechen?\n(Die Stücklisteneinträge der Konfigurationen des "
    L"aktuellen Normteils werden noch zu Ende geschrieben).",
    L"Do you really want to cancel?\n(The BOM entries of these configurations "
    L"are still changed and saved)."};
inline constexpr Text kCancelled{L"Abbruch durch Benutzer!\n\nEs wurden nicht alle Dateien kopiert.",
                                 L"Canceled by user!\n\nNot all files are copied."};
inline constexpr Message NoFileName{
    {L"FEHLER: '%1' ist kein Dateiname!\nDas betroffene Normteil wird übergangen.",
     L"ERROR: '%1' is not a file name!\nThe standard part concerned is skipped."}};
inline constexpr Text kFinished{L"Umsetzungen erfolgreich beendet.", L"Conversion successfully finished."};

// File errors; %1: the path.
inline constexpr Message FileMissing{
    {L"Die Datei \"%1\" ist nicht vorhanden", L"The file \"%1\" does not exist"}};
inline constexpr Message BadPath{
    {L"Der Pfad \"%1\" ist ungültig oder nicht vorhanden", L"The path \"%1\" is invalid or does not exist"}};
inline constexpr Message AccessDenied{
    {L"Der Zugriff auf \"%1\" wurde verweigert", L"Access to \"%1\" was denied"}};
inline constexpr Message OpenElsewhere{{L"Die Datei \"%1\" ist von einem anderen Programm geöffnet",
                                        L"The file \"%1\" is open in another program"}};
inline constexpr Message NoSpace{{L"Für die Datei \"%1\" ist kein Speicherplatz mehr frei",
                                  L"There is no space left for the file \"%1\""}};
inline constexpr Message DeviceError{{L"Das Laufwerk oder Gerät von \"%1\" meldet einen Fehler",
                                      L"The drive or device of \"%1\" reports an error"}};
inline constexpr Message LockedElsewhere{
    {L"Ein Bereich der Datei \"%1\" ist von einem anderen Programm gesperrt",
     L"A region of the file \"%1\" is locked by another program"}};
// For Windows errors without a text of their own; %2: the number.
inline constexpr Message UnknownFileError{
    {L"Beim Zugriff auf \"%1\" trat ein unbekannter Fehler auf (Windows-Fehler %2)",
     L"An unknown error occurred while accessing \"%1\" (Windows error %2)"}};

// An exception that only the window procedure catches
inline constexpr Message UnexpectedError{{L"Unerwarteter Fehler: %1", L"Unexpected error: %1"}};

}  // namespace expected
