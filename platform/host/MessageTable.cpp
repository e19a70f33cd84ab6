// The system's message table in the languages of its editions.

#include "platform/host/MessageTable.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace host {
namespace {

constexpr std::size_t kEditions = 5;

struct Message {
  DWORD id;
  std::array<const wchar_t*, kEditions> texts;  // English, Spanish, Portuguese, German, Polish
};

// A language and the column of its texts. Both editions in Spanish have the same ones.
struct Edition {
  LANGID language;
  std::size_t column;
};
constexpr Edition kInstalled[] = {
    {0x0409, 0}, {0x0C0A, 1}, {0x0416, 2}, {0x080A, 1}, {0x0407, 3}, {0x0415, 4},
};
constexpr LANGID kPrimaryLanguage = 0x3FF;

constexpr Message kMessages[] = {
    {0,
     {L"The operation completed successfully.", L"La operación se completó correctamente.",
      L"A operação foi concluída com êxito.", L"Der Vorgang wurde erfolgreich beendet.",
      L"Operacja ukończona pomyślnie."}},
    {2,
     {L"The system cannot find the file specified.",
      L"El sistema no puede encontrar el archivo especificado.",
      L"O sistema não pode encontrar o arquivo especificado.",
      L"Das System kann die angegebene Datei nicht finden.",
      L"Nie można odnaleźć określonego pliku."}},
    {3,
     {L"The system cannot find the path specified.",
      L"El sistema no puede encontrar la ruta especificada.",
      L"O sistema não pode encontrar o caminho especificado.",
      L"Das System kann den angegebenen Pfad nicht finden.",
      L"System nie może odnaleźć określonej ścieżki."}},
    {5,
     {L"Access is denied.", L"Acceso denegado.", L"Acesso negado.", L"Zugriff verweigert",
      L"Odmowa dostępu."}},
    {6,
     {L"The handle is invalid.", L"Controlador no válido.", L"Identificador inválido.",
      L"Das Handle ist ungültig.", L"Nieprawidłowe dojście."}},
    {18,
     {L"There are no more files.", L"No hay más archivos.", L"Não há mais arquivos.",
      L"Es sind keine weiteren Dateien vorhanden.", L"Nie ma już więcej plików."}},
    {32,
     {L"The process cannot access the file because it is being used by another process.",
      L"El proceso no tiene acceso al archivo porque está siendo utilizado por otro proceso.",
      L"O arquivo já está sendo usado por outro processo.",
      L"Der Prozess kann nicht auf die Datei zugreifen, da sie von einem anderen Prozess verwendet "
      L"wird.",
      L"Proces nie może uzyskać dostępu do pliku, ponieważ jest on używany przez inny proces."}},
    {80,
     {L"The file exists.", L"El archivo existe.", L"O arquivo existe.", L"Die Datei ist vorhanden.",
      L"Plik istnieje."}},
    {87,
     {L"The parameter is incorrect.", L"El parámetro no es correcto.", L"Parâmetro incorreto.",
      L"Falscher Parameter.", L"Parametr jest niepoprawny."}},
    {112,
     {L"There is not enough space on the disk.", L"Espacio en disco insuficiente.",
      L"Espaço insuficiente no disco.",
      L"Es steht nicht genug Speicherplatz auf dem Datenträger zur Verfügung.",
      L"Za mało miejsca na dysku."}},
    {122,
     {L"The data area passed to a system call is too small.",
      L"El área de datos transferida a una llamada del sistema es demasiado pequeña.",
      L"A área de dados passada para uma chamada do sistema é pequena demais.",
      L"Der an einen Systemaufruf übergebene Datenbereich ist zu klein.",
      L"Obszar danych przekazany do wywołania systemowego jest za mały."}},
    {123,
     {L"The filename, directory name, or volume label syntax is incorrect.",
      L"El nombre de archivo, el nombre de directorio o la sintaxis de la etiqueta del volumen no "
      L"son correctos.",
      L"A sintaxe do nome do arquivo, do nome do diretório ou do rótulo do volume está incorreta.",
      L"Die Syntax für den Dateinamen, Verzeichnisnamen oder die Datenträgerbezeichnung ist "
      L"falsch.",
      L"Nazwa pliku, nazwa katalogu lub składnia etykiety woluminu jest niepoprawna."}},
    {126,
     {L"The specified module could not be found.", L"No se puede encontrar el módulo especificado.",
      L"Não foi possível encontrar o módulo especificado.",
      L"Das angegebene Modul wurde nicht gefunden.", L"Nie można odnaleźć określonego modułu."}},
    {127,
     {L"The specified procedure could not be found.",
      L"No se puede encontrar el procedimiento especificado.",
      L"Não foi possível encontrar o procedimento especificado.",
      L"Die angegebene Prozedur wurde nicht gefunden.",
      L"Nie można odnaleźć określonej procedury."}},
    {131,
     {L"An attempt was made to move the file pointer before the beginning of the file.",
      L"Se intentó mover el puntero del archivo antes del comienzo de este.",
      L"Houve uma tentativa de mover o ponteiro do arquivo para antes do início do arquivo.",
      L"Es wurde versucht, den Dateizeiger vor den Anfang der Datei zu setzen.",
      L"Nastąpiła próba przesunięcia wskaźnika pliku przed początek pliku."}},
    {183,
     {L"Cannot create a file when that file already exists.",
      L"No se puede crear un archivo que ya existe.",
      L"Não é possível criar um arquivo já existente.",
      L"Eine Datei kann nicht erstellt werden, wenn sie bereits vorhanden ist.",
      L"Nie można utworzyć pliku, który już istnieje."}},
    {193,
     {L"%1 is not a valid Win32 application.", L"%1 no es una aplicación Win32 válida.",
      L"%1 não é um aplicativo Win32 válido.", L"%1 ist keine zulässige Win32-Anwendung.",
      L"%1 nie jest prawidłową aplikacją systemu Win32."}},
    {234,
     {L"More data is available.", L"Hay más datos disponibles.", L"Há mais dados disponíveis.",
      L"Es sind mehr Daten verfügbar.", L"Jest dostępnych więcej danych."}},
    {258,
     {L"The wait operation timed out.", L"Se agotó el tiempo de espera de la operación.",
      L"O tempo limite da operação de espera foi atingido.",
      L"Das Zeitlimit für den Wartevorgang wurde überschritten.",
      L"Upłynął limit czasu operacji oczekiwania."}},
    {288,
     {L"Attempt to release mutex not owned by caller.",
      L"Intento de liberar una exclusión mutua que no pertenece al llamador.",
      L"Tentativa de liberar mutex que não pertence ao chamador.",
      L"Es wurde versucht, einen Mutex freizugeben, der nicht im Besitz des Aufrufers ist.",
      L"Próba zwolnienia obiektu mutex nienależącego do wywołującego."}},
    {1056,
     {L"An instance of the service is already running.",
      L"Ya se está ejecutando una instancia de este servicio.",
      L"Uma cópia deste serviço já está em execução.",
      L"Es wird bereits eine Instanz des Dienstes ausgeführt.",
      L"Jedno wystąpienie usługi jest już uruchomione."}},
    {1060,
     {L"The specified service does not exist as an installed service.",
      L"El servicio especificado no existe como servicio instalado.",
      L"O serviço especificado não existe como serviço instalado.",
      L"Der angegebene Dienst ist kein installierter Dienst.",
      L"Określona usługa nie istnieje jako usługa zainstalowana."}},
    {1061,
     {L"The service cannot accept control messages at this time.",
      L"El servicio no puede aceptar mensajes de control en este momento.",
      L"O serviço não pode aceitar mensagens de controle neste momento.",
      L"Der Dienst kann zurzeit keine Steuerungsmeldungen annehmen.",
      L"W tej chwili usługa nie może przyjmować komunikatów sterujących."}},
    {1062,
     {L"The service has not been started.", L"No se ha iniciado el servicio.",
      L"O serviço não foi iniciado.", L"Der Dienst wurde nicht gestartet.",
      L"Usługa nie została uruchomiona."}},
    {1063,
     {L"The service process could not connect to the service controller.",
      L"El proceso del servicio no puede conectar con el controlador de servicio.",
      L"O processo de serviço não pôde se conectar ao controlador de serviço.",
      L"Der Dienstprozess konnte keine Verbindung zum Dienstcontroller herstellen.",
      L"Proces usługi nie może się połączyć z kontrolerem usług."}},
    {1113,
     {L"No mapping for the Unicode character exists in the target multi-byte code page.",
      L"No existe ninguna asignación para el carácter Unicode en la página de códigos multibyte de "
      L"destino.",
      L"Não existe mapeamento para o caractere Unicode na página de código multibyte de destino.",
      L"Dem Unicode-Zeichen ist kein Zeichen in der Multibyte-Zielcodepage zugeordnet.",
      L"W docelowej wielobajtowej stronie kodowej nie ma mapowania dla znaku Unicode."}},
    {1150,
     {L"The specified program requires a newer version of Windows.",
      L"El programa especificado necesita una versión más reciente de Windows.",
      L"O programa especificado requer uma versão mais recente do Windows.",
      L"Das angegebene Programm erfordert eine neuere Version von Windows.",
      L"Określony program wymaga nowszej wersji systemu Windows."}},
    {1300,
     {L"Not all privileges or groups referenced are assigned to the caller.",
      L"No todos los privilegios o grupos a los que se hace referencia están asignados al "
      L"llamador.",
      L"Nem todos os privilégios ou grupos referenciados foram atribuídos ao chamador.",
      L"Dem Aufrufer sind nicht alle Berechtigungen oder Gruppen zugewiesen, auf die verwiesen "
      L"wird.",
      L"Nie wszystkie przywoływane uprawnienia lub grupy są przypisane do obiektu wywołującego."}},
    {1313,
     {L"A specified privilege does not exist.", L"No existe un privilegio especificado.",
      L"Um privilégio especificado não existe.",
      L"Eine angegebene Berechtigung ist nicht vorhanden.",
      L"Określone uprawnienie nie istnieje."}},
    {1314,
     {L"A required privilege is not held by the client.",
      L"El cliente no dispone de un privilegio requerido.",
      L"O cliente não tem o privilégio necessário.", L"Dem Client fehlt ein erforderliches Recht.",
      L"Klient nie ma wymaganych uprawnień."}},
    {1337,
     {L"The security ID structure is invalid.", L"La estructura del id. de seguridad no es válida.",
      L"A estrutura da identificação de segurança é inválida.",
      L"Die Struktur der Sicherheits-ID ist ungültig.",
      L"Struktura identyfikatora zabezpieczeń jest nieprawidłowa."}},
    {1812,
     {L"The specified image file did not contain a resource section.",
      L"El archivo de imagen especificado no contiene una sección de recursos.",
      L"O arquivo de imagem especificado não contém uma seção de recursos.",
      L"Die angegebene Image-Datei enthält keinen Ressourcenabschnitt.",
      L"Określony plik obrazu nie zawiera sekcji zasobów."}},
    {1813,
     {L"The specified resource type cannot be found in the image file.",
      L"No se encuentra el tipo de recurso especificado en el archivo de imagen.",
      L"Não foi possível encontrar o tipo de recurso especificado no arquivo de imagem.",
      L"Der angegebene Ressourcentyp wurde nicht in der Image-Datei gefunden.",
      L"Nie można odnaleźć określonego typu zasobu w pliku obrazu."}},
    {1814,
     {L"The specified resource name cannot be found in the image file.",
      L"No se encuentra el nombre de recurso especificado en el archivo de imagen.",
      L"Não foi possível encontrar o nome do recurso especificado no arquivo de imagem.",
      L"Der angegebene Ressourcenname wurde nicht in der Image-Datei gefunden.",
      L"Nie można odnaleźć określonej nazwy zasobu w pliku obrazu."}},
    {1815,
     {L"The specified resource language ID cannot be found in the image file.",
      L"No se encuentra el id. de idioma del recurso especificado en el archivo de imagen.",
      L"Não foi possível encontrar a identificação do idioma do recurso especificada no arquivo de "
      L"imagem.",
      L"Die angegebene Ressourcensprach-ID wurde nicht in der Image-Datei gefunden.",
      L"Nie można odnaleźć określonego identyfikatora języka zasobu w pliku obrazu."}},
};

const Edition* editionOf(LANGID language) {
  const auto* exact = std::find_if(std::begin(kInstalled), std::end(kInstalled),
                                   [&](const Edition& e) { return e.language == language; });
  if (exact != std::end(kInstalled)) {
    return exact;
  }
  const auto* related =
      std::find_if(std::begin(kInstalled), std::end(kInstalled), [&](const Edition& edition) {
        return (edition.language & kPrimaryLanguage) == (language & kPrimaryLanguage);
      });
  return related == std::end(kInstalled) ? std::begin(kInstalled) : related;
}

}  // namespace

LANGID displayLanguage(LANGID user) {
  return editionOf(user)->language;
}

const wchar_t* systemMessage(DWORD id, LANGID language) {
  const auto* found = std::find_if(std::begin(kMessages), std::end(kMessages),
                                   [&](const Message& message) { return message.id == id; });
  return found == std::end(kMessages) ? nullptr : found->texts.at(editionOf(language)->column);
}

}  // namespace host
