#include "tests/support/NullPointerEnd.h"
#include "tests/unit/task/LifecycleFixture.h"

namespace {

// A task of the same name that somebody else has made.

class ForeignTaskTest : public LifecycleTest {
 protected:
  static constexpr char kProgramAction[] = "<Exec><Command>C:\\other\\a.exe</Command></Exec>";

  // Stores a task with the given actions past the scheduler, as another program's document.
  static void store(const std::string& actions) {
    host::machine().drive.write(
        kStoredTask,
        "<?xml version=\"1.0\"?>\n"
        "<Task version=\"1.2\" xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\">\n"
        "  <RegistrationInfo><Author>Somebody</Author></RegistrationInfo>\n"
        "  <Triggers><BootTrigger><Enabled>true</Enabled></BootTrigger></Triggers>\n"
        "  <Principals><Principal "
        "id=\"Author\"><UserId>S-1-5-18</UserId></Principal></Principals>\n"
        "  <Settings><Priority>4</Priority></Settings>\n"
        "  <Actions Context=\"Author\">" +
            actions +
            "</Actions>\n"
            "</Task>\n");
  }

  static void expectFault() {
    const std::string before = storedBytes();
    EXPECT_EXIT(
        {
          letTheFaultEndTheProcess();
          EnsureTask(L"C:\\x");
        },
        usedANullPointer, "");
    EXPECT_EQ(storedBytes(), before);
  }

  static std::string storedBytes() {
    return host::machine().drive.read(kStoredTask).value_or("no task");
  }
};

TEST_F(ForeignTaskTest, firstActionIsPointedAtTheProgramAndTheRestStays) {
  store(
      "<Exec><Command>C:\\other\\a.exe</Command><Arguments>-a</Arguments></Exec>"
      "<Exec><Command>C:\\other\\b.exe</Command></Exec>");
  EnsureTask(L"C:\\x");
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Compare: C:\\otherandC:\\x",
                                "[DBG] [TPM] Success! Task successfully registered.",
                                "[DBG] [TPM] Task has beed updated to new OVER location, Ending"}));
  expectBalanced();
  EXPECT_TRUE(readStored([](ITaskDefinition* definition) {
    EXPECT_EQ(firstPathOf(definition), L"\"C:\\x\\OrvixVTMEKRecertification.exe\"");
    BSTR text = nullptr;
    EXPECT_EQ(definition->get_XmlText(&text), S_OK);
    const std::wstring document(text, SysStringLen(text));
    SysFreeString(text);
    for (const wchar_t* kept : {L"Somebody", L"BootTrigger", L"<Priority>4</Priority>",
                                L"<Arguments>-a</Arguments>", L"C:\\other\\b.exe"}) {
      EXPECT_NE(document.find(kept), std::wstring::npos) << host::toUtf8(kept);
    }
    EXPECT_EQ(document.find(L"EventTrigger"), std::wstring::npos);
  }));
}

TEST_F(ForeignTaskTest, emptyStoredPathIsRepointed) {
  store("<Exec><Command></Command></Exec>");
  EnsureTask(L"C:\\x");
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Compare: andC:\\x",
                                "[DBG] [TPM] Success! Task successfully registered.",
                                "[DBG] [TPM] Task has beed updated to new OVER location, Ending"}));
  expectBalanced();
  EXPECT_EQ(storedPath(), L"\"C:\\x\\OrvixVTMEKRecertification.exe\"");
}

// Deliberate: there is no first action, and nobody looks whether there is.
TEST_F(ForeignTaskTest, taskWithoutActionsEndsTheProcess) {
  store("");
  expectFault();
}

TEST_F(ForeignTaskTest, firstActionThatStartsNoProgramEndsTheProcess) {
  store("<ComHandler><ClassId>{00000000-0000-0000-0000-000000000001}</ClassId></ComHandler>");
  expectFault();
}

// Deliberate: an action without its command gives no path, and nobody looks whether it does.
TEST_F(ForeignTaskTest, actionWithoutACommandEndsTheProcess) {
  store("<Exec><Arguments>-a</Arguments></Exec>");
  expectFault();
}

TEST_F(ForeignTaskTest, documentOfARepointedTaskIsValid) {
  store(kProgramAction);
  EnsureTask(L"C:\\x");
  const std::string document = storedDocument();
  EXPECT_NE(document.find("<Author>Somebody</Author>"), std::string::npos) << document;
  EXPECT_NE(document.find("<Command>\"C:\\x\\OrvixVTMEKRecertification.exe\"</Command>"),
            std::string::npos)
      << document;
  EXPECT_TRUE(isStoredDocumentValid());
}

// Longer than the scheduler itself would have stored.
TEST_F(ForeignTaskTest, storedPathOf32000CharactersIsReadWholeAndRepointed) {
  const std::string directory = "C:\\" + std::string(31'990, 'x');
  store("<Exec><Command>\"" + directory + "\\y.exe\"</Command></Exec>");
  EnsureTask(L"C:\\x");
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Compare: " + directory + "andC:\\x",
                                "[DBG] [TPM] Success! Task successfully registered.",
                                "[DBG] [TPM] Task has beed updated to new OVER location, Ending"}));
  EXPECT_EQ(storedPath(), L"\"C:\\x\\OrvixVTMEKRecertification.exe\"");
}

TEST_F(ForeignTaskTest, isDeletedLikeTheServicesOwn) {
  store(kProgramAction);
  DeleteTask();
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Task Deleted sucessfully"});
  EXPECT_EQ(storedBytes(), "no task");
}

// No task that can be read, and none that could be repointed.
TEST_F(ForeignTaskTest, documentThatIsNoTaskIsLoggedAndLeftAlone) {
  host::machine().drive.write(kStoredTask, "nonsense");
  EnsureTask(L"C:\\x");
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Failed to Get Existing Task: 8004131a"});
  expectBalanced();
  EXPECT_EQ(storedBytes(), "nonsense");
}

}  // namespace
