// The language libraries as they are built, read by the loader.

#include <array>
#include <map>
#include <string>
#include <vector>

#include "VUSL/Support/ResourceLoader.h"
#include "VUSL/Support/SysException.h"
#include "tests/support/MachineTest.h"

namespace {

using Texts = std::map<uint32_t, std::wstring>;

constexpr std::array<uint32_t, 9> kIds = {0, 101, 225, 226, 227, 239, 250, 259, 325};
constexpr std::array<const wchar_t*, 6> kLanguages = {L"en-US", L"es-ES", L"pt-BR",
                                                      L"es-MX", L"de-DE", L"pl-PL"};

class LanguageLibrariesTest : public host::MachineTest {
 protected:
  LanguageLibrariesTest() { reset(); }
  ~LanguageLibrariesTest() override { reset(); }

  static void reset() {
    ResourceLoader::resourceLibraries.clear();
    ResourceLoader::libraryBaseName.clear();
  }

  // Puts one of the built libraries beside the program.
  static void install(const std::wstring& fileName) {
    host::machine().drive.linkIn(LANGUAGES_DIR "/" + host::toUtf8(fileName),
                                 L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\" + fileName);
  }

  static void installAll(const std::wstring& prefix) {
    for (const wchar_t* language : kLanguages) install(prefix + language + L".dll");
  }

  // All strings that a user with this language id is shown.
  static Texts textsFor(LANGID user) {
    host::machine().userLanguage = user;
    ResourceLoader::initialiseLibraries();
    ResourceLoader loader;
    Texts texts;
    for (const uint32_t id : kIds) {
      wchar_t buffer[ResourceLoader::kDefaultSize] = {};
      loader.loadString(id, buffer);
      texts[id] = buffer;
    }
    ResourceLoader::resourceLibraries.clear();
    return texts;
  }

  // What a user with this language id reads of an error that the system does not know.
  static std::string unknownErrorFor(LANGID user) {
    host::machine().userLanguage = user;
    SetLastError(0xE0000001);
    return SysException().errorText();
  }
};

TEST_F(LanguageLibrariesTest, speakEnglish) {
  installAll(L"VUSL_");
  const Texts expected = {
      {0, L"The file \"%1\" could not be opened because it does not exist."},
      {101, L"Unknown system error: "},
      {225,
       L"The argument \"%1\" is not allowed here: it does not begin with \"%2\", or a parameter "
       L"before it rules it out."},
      {226, L"The parameter \"%2%1\" needs a value."},
      {227, L"The parameter \"%2%1\" is required."},
      {239, L"Only one of these parameters may be given: %1."},
      {250, L"The file \"%1\" is missing."},
      {259, L"Usage: %1"},
      {325, L"The parameter \"%2%1\" is unknown."},
  };
  EXPECT_EQ(textsFor(0x0409), expected);
}

TEST_F(LanguageLibrariesTest, speakSpanish) {
  installAll(L"VUSL_");
  const Texts expected = {
      {0, L"No se pudo abrir el archivo \"%1\" porque no existe."},
      {101, L"Error del sistema desconocido: "},
      {225,
       L"El argumento \"%1\" no se admite aquí: no empieza por \"%2\", o lo excluye un parámetro "
       L"anterior."},
      {226, L"El parámetro \"%2%1\" necesita un valor."},
      {227, L"El parámetro \"%2%1\" es obligatorio."},
      {239, L"Solo se puede indicar uno de estos parámetros: %1."},
      {250, L"Falta el archivo \"%1\"."},
      {259, L"Uso: %1"},
      {325, L"El parámetro \"%2%1\" es desconocido."},
  };
  EXPECT_EQ(textsFor(0x0C0A), expected);
}

TEST_F(LanguageLibrariesTest, speakPortuguese) {
  installAll(L"VUSL_");
  const Texts expected = {
      {0, L"Não foi possível abrir o arquivo \"%1\" porque ele não existe."},
      {101, L"Erro de sistema desconhecido: "},
      {225,
       L"O argumento \"%1\" não é permitido aqui: ele não começa com \"%2\", ou um parâmetro "
       L"anterior o exclui."},
      {226, L"O parâmetro \"%2%1\" precisa de um valor."},
      {227, L"O parâmetro \"%2%1\" é obrigatório."},
      {239, L"Somente um destes parâmetros pode ser informado: %1."},
      {250, L"O arquivo \"%1\" não foi encontrado."},
      {259, L"Uso: %1"},
      {325, L"O parâmetro \"%2%1\" é desconhecido."},
  };
  EXPECT_EQ(textsFor(0x0416), expected);
}

TEST_F(LanguageLibrariesTest, speakMexicanSpanish) {
  installAll(L"VUSL_");
  const Texts expected = {
      {0, L"No fue posible abrir el archivo \"%1\" porque no existe."},
      {101, L"Error de sistema desconocido: "},
      {225,
       L"El argumento \"%1\" no está permitido aquí: no comienza con \"%2\", o lo excluye un "
       L"parámetro anterior."},
      {226, L"El parámetro \"%2%1\" requiere un valor."},
      {227, L"El parámetro \"%2%1\" es obligatorio."},
      {239, L"Solo se puede especificar uno de estos parámetros: %1."},
      {250, L"Falta el archivo \"%1\"."},
      {259, L"Uso: %1"},
      {325, L"Se desconoce el parámetro \"%2%1\"."},
  };
  EXPECT_EQ(textsFor(0x080A), expected);
}

TEST_F(LanguageLibrariesTest, speakGerman) {
  installAll(L"VUSL_");
  const Texts expected = {
      {0, L"Die Datei \"%1\" konnte nicht geöffnet werden, weil sie nicht vorhanden ist."},
      {101, L"Unbekannter Systemfehler: "},
      {225,
       L"Das Argument \"%1\" ist hier nicht zulässig: Es beginnt nicht mit \"%2\", oder ein "
       L"früherer Parameter schließt es aus."},
      {226, L"Für den Parameter \"%2%1\" muss ein Wert angegeben werden."},
      {227, L"Der Parameter \"%2%1\" ist erforderlich."},
      {239, L"Von diesen Parametern darf nur einer angegeben werden: %1."},
      {250, L"Die Datei \"%1\" fehlt."},
      {259, L"Verwendung: %1"},
      {325, L"Der Parameter \"%2%1\" ist nicht bekannt."},
  };
  EXPECT_EQ(textsFor(0x0407), expected);
}

TEST_F(LanguageLibrariesTest, speakPolish) {
  installAll(L"VUSL_");
  const Texts expected = {
      {0, L"Nie można otworzyć pliku \"%1\", ponieważ nie istnieje."},
      {101, L"Nierozpoznany kod systemu: "},
      {225,
       L"Argument \"%1\" jest tutaj niedozwolony: nie zaczyna się od \"%2\" albo wyklucza go "
       L"wcześniejszy parametr."},
      {226, L"Parametr \"%2%1\" wymaga podania wartości."},
      {227, L"Parametr \"%2%1\" jest wymagany."},
      {239, L"Można podać tylko jeden z tych parametrów: %1."},
      {250, L"Brakuje pliku \"%1\"."},
      {259, L"Sposób użycia: %1"},
      {325, L"Parametr \"%2%1\" jest nieznany."},
  };
  EXPECT_EQ(textsFor(0x0415), expected);
}

TEST_F(LanguageLibrariesTest, sayTheSameUnderTheProgramsName) {
  installAll(L"VUSL_");
  std::map<LANGID, Texts> support;
  const std::vector<LANGID> users = {0x0409, 0x0C0A, 0x0416, 0x080A, 0x0407, 0x0415};
  for (const LANGID user : users) support[user] = textsFor(user);
  for (const wchar_t* language : kLanguages) {
    host::machine().drive.remove(L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\VUSL_" +
                                 std::wstring(language) + L".dll");
  }
  installAll(L"");
  for (const auto& [user, texts] : support) EXPECT_EQ(textsFor(user), texts) << user;
}

TEST_F(LanguageLibrariesTest, areAskedUnderTheProgramsNameFirst) {
  installAll(L"VUSL_");
  installAll(L"");
  textsFor(0x0407);
  const auto calls = journal().calls("LoadLibraryExW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, "de-DE.dll, null, 2");
}

TEST_F(LanguageLibrariesTest, leaveRoomForEveryErrorBehindTheTextForAnUnknownOne) {
  installAll(L"VUSL_");
  EXPECT_EQ(unknownErrorFor(0x0409), "Unknown system error: 0xe0000001");
  EXPECT_EQ(unknownErrorFor(0x0C0A), "Error del sistema desconocido: 0xe0000001");
  EXPECT_EQ(unknownErrorFor(0x0416), "Erro de sistema desconhecido: 0xe0000001");
  EXPECT_EQ(unknownErrorFor(0x080A), "Error de sistema desconocido: 0xe0000001");
  EXPECT_EQ(unknownErrorFor(0x0407), "Unbekannter Systemfehler: 0xe0000001");
  EXPECT_EQ(unknownErrorFor(0x0415), "Nierozpoznany kod systemu: 0xe0000001");
}

TEST_F(LanguageLibrariesTest, speakEnglishToAUserOfItalian) {
  installAll(L"VUSL_");
  EXPECT_EQ(textsFor(0x0410).at(250), L"The file \"%1\" is missing.");
}

TEST_F(LanguageLibrariesTest, speakSpainsSpanishWhereTheMexicanLibraryIsMissing) {
  install(L"VUSL_es-ES.dll");
  install(L"VUSL_en-US.dll");
  EXPECT_EQ(textsFor(0x080A).at(226), L"El parámetro \"%2%1\" necesita un valor.");
}

TEST_F(LanguageLibrariesTest, speakEnglishWhereTheUsersLibraryIsMissing) {
  install(L"VUSL_en-US.dll");
  EXPECT_EQ(textsFor(0x0407).at(250), L"The file \"%1\" is missing.");
}

}  // namespace
