// The documents that registered tasks are.

#include "platform/host/TaskDocument.h"

#include <cstdlib>

#include "tests/unit/host/ComFixture.h"

namespace host {
namespace {

constexpr wchar_t kName[] = L"Some Task";
constexpr wchar_t kFile[] = L"C:\\Windows\\System32\\Tasks\\Some Task";

class TaskDocumentTest : public TaskServiceTest {
 protected:
  // What the stored file says, without its byte order mark.
  static std::string storedText() {
    const std::string bytes = machine().drive.read(kFile).value_or("");
    EXPECT_EQ(bytes.substr(0, 2), "\xFF\xFE");
    std::string text;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
      EXPECT_EQ(bytes[i + 1], '\0') << "this helper is for ASCII";
      text += bytes[i];
    }
    return text;
  }

  // Whether the public schema allows the stored file.
  static bool isValid() {
    const std::string file = machine().drive.locate(kFile)->string();
    const std::string command = "xmllint --noout --nonet --schema '" SOURCE_ROOT
                                "/tests/data/task.xsd' '" +
                                file + "' >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
  }

  Reference<ITaskDefinition> wholeTask() const {
    auto task = newTask();
    addProgram(*task, L"\"C:\\x\\Program.exe\"");
    return task;
  }

  // Replaces the program's path of a stored task, as a moved installation does.
  void repoint(const std::wstring& path) const {
    const auto definition = stored(kName);
    IActionCollection* found = nullptr;
    definition->get_Actions(&found);
    const Reference<IActionCollection> actions(found);
    IAction* action = nullptr;
    ASSERT_EQ(actions->get_Item(1, &action), 0);
    const Reference<IAction> held(action);
    face<IExecAction>(*action, IID_IExecAction)->put_Path(TestString(path));
    ASSERT_EQ(put(kName, *definition), 0);
  }
};

constexpr char kNewTask[] =
    "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n"
    "<Task version=\"1.2\" xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\">\r\n"
    "  <RegistrationInfo>\r\n"
    "    <URI>\\Some Task</URI>\r\n"
    "  </RegistrationInfo>\r\n"
    "  <Triggers />\r\n"
    "  <Principals>\r\n"
    "    <Principal id=\"Author\">\r\n"
    "      <UserId>S-1-5-18</UserId>\r\n"
    "    </Principal>\r\n"
    "  </Principals>\r\n"
    "  <Settings>\r\n"
    "    <MultipleInstancesPolicy>IgnoreNew</MultipleInstancesPolicy>\r\n"
    "    <DisallowStartIfOnBatteries>true</DisallowStartIfOnBatteries>\r\n"
    "    <StopIfGoingOnBatteries>true</StopIfGoingOnBatteries>\r\n"
    "    <AllowHardTerminate>true</AllowHardTerminate>\r\n"
    "    <StartWhenAvailable>false</StartWhenAvailable>\r\n"
    "    <RunOnlyIfNetworkAvailable>false</RunOnlyIfNetworkAvailable>\r\n"
    "    <IdleSettings>\r\n"
    "      <Duration>PT10M</Duration>\r\n"
    "      <WaitTimeout>PT1H</WaitTimeout>\r\n"
    "      <StopOnIdleEnd>true</StopOnIdleEnd>\r\n"
    "      <RestartOnIdle>false</RestartOnIdle>\r\n"
    "    </IdleSettings>\r\n"
    "    <AllowStartOnDemand>true</AllowStartOnDemand>\r\n"
    "    <Enabled>true</Enabled>\r\n"
    "    <Hidden>false</Hidden>\r\n"
    "    <RunOnlyIfIdle>false</RunOnlyIfIdle>\r\n"
    "    <WakeToRun>false</WakeToRun>\r\n"
    "    <ExecutionTimeLimit>PT72H</ExecutionTimeLimit>\r\n"
    "    <Priority>7</Priority>\r\n"
    "  </Settings>\r\n"
    "  <Actions Context=\"Author\">\r\n"
    "    <Exec>\r\n"
    "      <Command>\"C:\\x\\Program.exe\"</Command>\r\n"
    "    </Exec>\r\n"
    "  </Actions>\r\n"
    "</Task>";

TEST_F(TaskDocumentTest, ANewTaskHasThePlatformsDefaultsInThePlatformsOrder) {
  put(kName, *wholeTask());
  EXPECT_EQ(storedText(), kNewTask);
}

TEST_F(TaskDocumentTest, ANewTaskIsValidAgainstThePublicSchema) {
  put(kName, *wholeTask());
  EXPECT_TRUE(isValid());
}

TEST_F(TaskDocumentTest, TheSchemaRefusesAWrongTask) {
  machine().drive.write(kFile,
                        "<Task xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\"/>");
  EXPECT_FALSE(isValid());
}

TEST_F(TaskDocumentTest, AServiceAccountHasNoLogonType) {
  const auto task = wholeTask();
  IPrincipal* found = nullptr;
  task->get_Principal(&found);
  const Reference<IPrincipal> principal(found);
  principal->put_LogonType(TASK_LOGON_SERVICE_ACCOUNT);
  put(kName, *task);
  EXPECT_EQ(storedText().find("LogonType"), std::string::npos);
  EXPECT_NE(storedText().find("<UserId>S-1-5-18</UserId>"), std::string::npos);
}

TEST_F(TaskDocumentTest, AnotherAccountHasItsLogonType) {
  const auto task = wholeTask();
  put(kName, *task, TASK_CREATE_OR_UPDATE, L"somebody", TASK_LOGON_INTERACTIVE_TOKEN);
  EXPECT_NE(storedText().find("<UserId>somebody</UserId>\r\n"
                              "      <LogonType>InteractiveToken</LogonType>"),
            std::string::npos);
  EXPECT_TRUE(isValid());
}

TEST_F(TaskDocumentTest, EmptyIdleDurationsAreStoredAsAbsent) {
  const auto task = wholeTask();
  const auto settings = settingsOf(*task);
  IIdleSettings* found = nullptr;
  settings->get_IdleSettings(&found);
  const Reference<IIdleSettings> idle(found);
  idle->put_IdleDuration(TestString(L""));
  idle->put_WaitTimeout(TestString(L""));
  put(kName, *task);
  EXPECT_NE(storedText().find("    <IdleSettings>\r\n"
                              "      <StopOnIdleEnd>true</StopOnIdleEnd>\r\n"
                              "      <RestartOnIdle>false</RestartOnIdle>\r\n"
                              "    </IdleSettings>\r\n"),
            std::string::npos);
  EXPECT_TRUE(isValid());
}

TEST_F(TaskDocumentTest, WhatIsSetStandsAtItsPlaceWhateverTheOrderOfTheCalls) {
  const auto task = wholeTask();
  const auto settings = settingsOf(*task);
  settings->put_RestartCount(3);
  settings->put_RestartInterval(TestString(L"PT30M"));
  settings->put_Hidden(VARIANT_TRUE);
  settings->put_MultipleInstances(TASK_INSTANCES_QUEUE);
  put(kName, *task);
  const std::string text = storedText();
  EXPECT_NE(text.find("    <Priority>7</Priority>\r\n"
                      "    <RestartOnFailure>\r\n"
                      "      <Interval>PT30M</Interval>\r\n"
                      "      <Count>3</Count>\r\n"
                      "    </RestartOnFailure>\r\n"
                      "  </Settings>\r\n"),
            std::string::npos);
  EXPECT_NE(text.find("<Settings>\r\n"
                      "    <MultipleInstancesPolicy>Queue</MultipleInstancesPolicy>\r\n"),
            std::string::npos);
  EXPECT_NE(text.find("<Enabled>true</Enabled>\r\n    <Hidden>true</Hidden>\r\n"),
            std::string::npos);
  EXPECT_TRUE(isValid());
}

TEST_F(TaskDocumentTest, AQueryIsStoredAsEscapedText) {
  const auto task = wholeTask();
  addEventTrigger(*task, L"<QueryList><Query Id=\"0\"/></QueryList>");
  put(kName, *task);
  EXPECT_NE(storedText().find("  <Triggers>\r\n"
                              "    <EventTrigger>\r\n"
                              "      <Enabled>true</Enabled>\r\n"
                              "      <Subscription>&lt;QueryList&gt;&lt;Query Id=\"0\"/&gt;"
                              "&lt;/QueryList&gt;</Subscription>\r\n"
                              "    </EventTrigger>\r\n"
                              "  </Triggers>\r\n"),
            std::string::npos);
  EXPECT_TRUE(isValid());
}

TEST_F(TaskDocumentTest, AReadQueryIsTheOneThatWasPut) {
  const auto task = wholeTask();
  addEventTrigger(*task, L"<QueryList><Query Id=\"0\"/></QueryList>");
  put(kName, *task);
  ITriggerCollection* found = nullptr;
  stored(kName)->get_Triggers(&found);
  const Reference<ITriggerCollection> triggers(found);
  ITrigger* trigger = nullptr;
  ASSERT_EQ(triggers->get_Item(1, &trigger), 0);
  const Reference<ITrigger> held(trigger);
  BSTR query = nullptr;
  face<IEventTrigger>(*trigger, IID_IEventTrigger)->get_Subscription(&query);
  EXPECT_EQ(taken(query), L"<QueryList><Query Id=\"0\"/></QueryList>");
}

TEST_F(TaskDocumentTest, CharactersOutsideAsciiComeBackAsTheyWere) {
  const std::wstring path = L"\"C:\\Gr\u00f6\u00dfe\\\U0001F511 & <x>.exe\"";
  const auto task = newTask();
  addProgram(*task, path);
  ASSERT_EQ(put(kName, *task), 0);
  EXPECT_TRUE(isValid());
  BSTR text = nullptr;
  stored(kName)->get_XmlText(&text);
  EXPECT_NE(taken(text).find(L"<Command>\"C:\\Gr\u00f6\u00dfe\\\U0001F511 &amp; &lt;x&gt;.exe\""),
            std::wstring::npos);
}

TEST_F(TaskDocumentTest, ReadingAStoredTaskGivesItsDefinition) {
  put(kName, *wholeTask());
  const std::string before = storedText();
  repoint(L"\"C:\\x\\Program.exe\"");
  EXPECT_EQ(storedText(), before);
}

// A task of somebody else's, with kinds of triggers, actions and settings that the model has no
// meaning for.
constexpr char kOthersTask[] =
    "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n"
    "<Task version=\"1.4\" xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\">\r\n"
    "  <RegistrationInfo>\r\n"
    "    <Author>Somebody &amp; Co</Author>\r\n"
    "    <URI>\\Some Task</URI>\r\n"
    "  </RegistrationInfo>\r\n"
    "  <Triggers>\r\n"
    "    <CalendarTrigger id=\"Daily\">\r\n"
    "      <StartBoundary>2020-01-01T03:00:00</StartBoundary>\r\n"
    "      <ScheduleByDay>\r\n"
    "        <DaysInterval>1</DaysInterval>\r\n"
    "      </ScheduleByDay>\r\n"
    "    </CalendarTrigger>\r\n"
    "  </Triggers>\r\n"
    "  <Principals>\r\n"
    "    <Principal id=\"System\">\r\n"
    "      <UserId>S-1-5-18</UserId>\r\n"
    "      <RunLevel>HighestAvailable</RunLevel>\r\n"
    "    </Principal>\r\n"
    "  </Principals>\r\n"
    "  <Settings>\r\n"
    "    <Hidden>false</Hidden>\r\n"
    "    <ExecutionTimeLimit>PT5M</ExecutionTimeLimit>\r\n"
    "    <UseUnifiedSchedulingEngine>true</UseUnifiedSchedulingEngine>\r\n"
    "  </Settings>\r\n"
    "  <Data>\r\n"
    "    <o:Own xmlns:o=\"urn:own\" o:kind=\"1\">\r\n"
    "      <o:Inside>text</o:Inside>\r\n"
    "    </o:Own>\r\n"
    "  </Data>\r\n"
    "  <Actions Context=\"System\">\r\n"
    "    <Exec id=\"First\">\r\n"
    "      <Command>\"C:\\old\\Program.exe\"</Command>\r\n"
    "      <Arguments>-a \"b c\"</Arguments>\r\n"
    "    </Exec>\r\n"
    "    <ShowMessage>\r\n"
    "      <Title>t</Title>\r\n"
    "      <Body>b</Body>\r\n"
    "    </ShowMessage>\r\n"
    "  </Actions>\r\n"
    "</Task>";

TEST_F(TaskDocumentTest, ATaskMadeByOthersKeepsAllItsValuesWhenItsPathIsPut) {
  machine().drive.write(kFile, kOthersTask);
  repoint(L"\"C:\\new\\Program.exe\"");
  std::string expected = kOthersTask;
  expected.replace(expected.find("C:\\old"), 6, "C:\\new");
  // The platform hangs an attribute without a prefix ahead of declared namespaces or behind them:
  // only what is parsed counts, so the one such element is compared by its parts.
  std::string text = storedText();
  const std::string own = "<o:Own o:kind=\"1\" xmlns:o=\"urn:own\">";
  ASSERT_NE(text.find(own), std::string::npos);
  text.replace(text.find(own), own.size(), "<o:Own xmlns:o=\"urn:own\" o:kind=\"1\">");
  EXPECT_EQ(text, expected);
}

TEST_F(TaskDocumentTest, AFileInUtf8IsReadWhateverItsFirstLineSays) {
  machine().drive.write(kFile, std::string("\xEF\xBB\xBF") + kOthersTask);
  EXPECT_NE(stored(kName), nullptr);
}

TEST_F(TaskDocumentTest, ADocumentOfAnotherNamespaceIsNoTask) {
  EXPECT_EQ(readTaskDocument("<Task xmlns=\"urn:other\"><Actions/></Task>"), nullptr);
  EXPECT_EQ(readTaskDocument("<Task><Actions/></Task>"), nullptr);
  EXPECT_EQ(readTaskDocument(""), nullptr);
}

TEST_F(TaskDocumentTest, ALoneHalfOfAPairIsReplaced) {
  std::string bytes = "\xFF\xFE";
  for (const char character :
       std::string("<Task xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\">")) {
    bytes += character;
    bytes += '\0';
  }
  bytes += std::string("\x00\xD8", 2);
  for (const char character : std::string("</Task>")) {
    bytes += character;
    bytes += '\0';
  }
  const auto task = readTaskDocument(bytes);
  ASSERT_NE(task, nullptr);
  EXPECT_EQ(task->text, "\xEF\xBF\xBD");
}

TEST_F(TaskDocumentTest, AnAbsentValueHasThePlatformsDefault) {
  machine().drive.write(kFile,
                        "<Task xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\">"
                        "<Actions/></Task>");
  const auto definition = stored(kName);
  const auto settings = settingsOf(*definition);
  VARIANT_BOOL flag = VARIANT_FALSE;
  settings->get_DisallowStartIfOnBatteries(&flag);
  EXPECT_EQ(flag, VARIANT_TRUE);
  settings->get_Hidden(&flag);
  EXPECT_EQ(flag, VARIANT_FALSE);
  INT priority = 0;
  settings->get_Priority(&priority);
  EXPECT_EQ(priority, 7);
  TASK_INSTANCES_POLICY policy = TASK_INSTANCES_PARALLEL;
  settings->get_MultipleInstances(&policy);
  EXPECT_EQ(policy, TASK_INSTANCES_IGNORE_NEW);
}

// The text on both sides of a comment is one text once the comment is gone.
TEST_F(TaskDocumentTest, TextThatACommentPartsIsOnePiece) {
  const auto task = readTaskDocument(
      "<Task xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\">"
      "<Data>a<b/>x<!-- c -->y<![CDATA[z]]></Data></Task>");
  ASSERT_NE(task, nullptr);
  const auto data = task->child("Data");
  ASSERT_NE(data, nullptr);
  ASSERT_EQ(data->children.size(), 3U);
  EXPECT_EQ(data->children[0]->text, "a");
  EXPECT_EQ(data->children[1]->name, "b");
  EXPECT_EQ(data->children[2]->text, "xyz");
}

}  // namespace
}  // namespace host
