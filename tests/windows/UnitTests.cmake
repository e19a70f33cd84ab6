# Unit tests that need neither faults nor virtual time nor anything else of the model, as a Windows
# program under Wine: what they say of the product holds with the platform's own runtime, characters
# of two bytes and the other compiler too.
set(runs_under_wine
  client/ClientStandinTest.cpp
  client/TalsEntryTableTest.cpp
  client/talsStatusTest.cpp
  diagnostics/AppendPrintedTest.cpp
  diagnostics/ConsoleLogOutletTest.cpp
  diagnostics/ExceptionFieldsTest.cpp
  diagnostics/ExceptionTest.cpp
  diagnostics/LogItemTest.cpp
  diagnostics/LogRecorderTest.cpp
  diagnostics/LogTextTest.cpp
  diagnostics/OutletBaseTest.cpp
  diagnostics/ResourceExceptionTest.cpp
  diagnostics/SpareTextTest.cpp
  diagnostics/TextTest.cpp
  diagnostics/TraceProviderTest.cpp
  diagnostics/UseCaseIdentifierTest.cpp
  runtime/BufferTest.cpp
  runtime/BufferWriterTest.cpp
  runtime/CmdLineNamesTest.cpp
  runtime/CmdLineProcTest.cpp
  runtime/CmdLinePromptTest.cpp
  runtime/CmdLineSizeTest.cpp
  runtime/CmdLineValueTest.cpp
  runtime/ConfigBytesTest.cpp
  runtime/ConfigConversionTest.cpp
  runtime/ConfigLineTest.cpp
  runtime/ConfigMemoryTest.cpp
  runtime/ConfigMgmtTest.cpp
  runtime/ConfigOutcomesTest.cpp
  runtime/ConfigSaveTest.cpp
  runtime/FileTest.cpp
  runtime/SettingsTest.cpp
  runtime/SingletonTest.cpp
  runtime/SlotOrderTest.cpp
  task/StoredActionDirectoryTest.cpp
  tools/ArgumentsTest.cpp
  tools/ConfigCheckTest.cpp
  tools/KnownSettingsTest.cpp
  tools/LineCheckTest.cpp)

# The others stay over the model: for the faults, the journal of calls, the virtual time or the moments
# in a run that they ask for,
set(needs_faults_or_journal
  client/DeviceManagerWrapperTest.cpp
  client/DeviceSearchTest.cpp
  client/ErrorStringTest.cpp
  client/FileUtilsTest.cpp
  client/GetValueStringTest.cpp
  client/HKeyContainerTest.cpp
  client/InstallDirectoryTest.cpp
  client/IntegrityLevelTest.cpp
  client/ProgressFailureTest.cpp
  client/ProgressTest.cpp
  client/SOloaderTest.cpp
  client/StackFaultsTest.cpp
  client/TalsClientLoaderFailureTest.cpp
  client/TalsClientLoaderTest.cpp
  client/talsClientCallerFailureTest.cpp
  client/talsClientCallerRecertificationTest.cpp
  client/talsClientCallerThreadTest.cpp
  diagnostics/DebugLogOutletTest.cpp
  diagnostics/EtwEventTest.cpp
  diagnostics/EtwLogOutletTest.cpp
  diagnostics/GetSystemErrorTextTest.cpp
  diagnostics/LanguageLibrariesTest.cpp
  diagnostics/LogFieldsTest.cpp
  diagnostics/LogItemMemoryTest.cpp
  diagnostics/LogSetupFaultTest.cpp
  diagnostics/LogSetupTest.cpp
  diagnostics/LogSinkTest.cpp
  diagnostics/ResourceLoaderFailureTest.cpp
  diagnostics/ResourceLoaderTest.cpp
  diagnostics/RollingDateFileLogOutletFaultTest.cpp
  diagnostics/RollingDateFileLogOutletTest.cpp
  diagnostics/RollingFileLogOutletFaultTest.cpp
  diagnostics/RollingFileLogOutletTest.cpp
  diagnostics/RollingOutletEdgeTest.cpp
  diagnostics/RollingOutletLossTest.cpp
  diagnostics/SysExceptionFailureTest.cpp
  diagnostics/SysExceptionTest.cpp
  runtime/CmdLineEchoTest.cpp
  runtime/CmdLinePromptTextTest.cpp
  runtime/ConfigPowerCutTest.cpp
  runtime/ConfigSaveCallTest.cpp
  runtime/ConfigSaveFailureTest.cpp
  runtime/CriticalSectionTest.cpp
  runtime/EnvironmentPathTest.cpp
  runtime/EventTest.cpp
  runtime/FieldOrderTest.cpp
  runtime/FileFailureTest.cpp
  runtime/LoadConfigTest.cpp
  runtime/MutexTest.cpp
  runtime/ScopedLockTest.cpp
  runtime/ThreadExceptionTest.cpp
  runtime/ThreadNamingTest.cpp
  runtime/ThreadTest.cpp
  service/EnrollmentInitTest.cpp
  service/EnrollmentLoopTest.cpp
  service/EnrollmentStartTest.cpp
  service/EventChannelsTest.cpp
  service/ProcessHardeningTest.cpp
  service/RecertificationLaunchTest.cpp
  service/ServiceControlHandlerTest.cpp
  service/ServiceFailureTest.cpp
  service/ServiceHostTest.cpp
  service/ServiceLifeTest.cpp
  service/ServiceThreadsTest.cpp
  service/WmainTest.cpp
  task/DeleteTaskTest.cpp
  task/EnrollmentTaskTest.cpp
  task/PlatformStringTest.cpp
  task/SaveTaskTest.cpp
  task/ScheduleTaskTest.cpp
  task/TaskCheckTest.cpp
  task/TaskConnectionTest.cpp
  task/TaskDefinitionTest.cpp
  task/TaskFailureTest.cpp
  task/TaskLifecycleTest.cpp
  task/TaskOutOfMemoryTest.cpp
  task/TaskPathSweepTest.cpp
  task/TaskSettingsTest.cpp)
# or for a machine that is as they want it: its devices, registry, language, client stack or tasks.
set(needs_another_machine
  client/GetDeviceHKEYTest.cpp
  client/talsClientCallerTest.cpp
  service/EnrollmentTransactionTest.cpp
  service/TPMEnrollmentProcessExceptionTest.cpp
  task/ForeignTaskTest.cpp
  task/StoredPathTest.cpp)
# Each unit test's file is in one of the lists, but for those of the model itself.
set(unit ${CMAKE_SOURCE_DIR}/tests/unit)
file(GLOB found RELATIVE ${unit} CONFIGURE_DEPENDS ${unit}/*/*Test.cpp)
list(FILTER found EXCLUDE REGEX "^host/")
list(REMOVE_ITEM found ${runs_under_wine} ${needs_faults_or_journal} ${needs_another_machine})
if(found)
  message(FATAL_ERROR "tests/windows/UnitTests.cmake does not say whether these run under Wine: ${found}")
endif()

# Single tests of those files that stay over the model, because they ask for its journal or faults,
set(stays_over_the_model
  FileTest.constructionOpensNothing
  FileTest.openSharesReadsAndWritesAndCreatesWhatIsMissing
  FileTest.openFileIsNotOpenedAgain
  FileTest.openAfterAFailureTriesAgain
  FileTest.writeOpensAtTheEndForReadingWritingAndAppending
  FileTest.twoWritesAppendInOrderWithNoSeekBetween
  FileTest.readOpensForReadingAtTheStart
  FileTest.readAfterWriteReadsFromTheStart
  FileTest.readOfNullIsTestedAheadOfTheSize
  FileTest.tenThousandFilesLeaveNoHandle
  FileTest.closeClosesOnce
  FileTest.removeClosesAndDeletes
  FileTest.renameClosesAndMoves
  FileTest.readAllOfAnEmptyFileLeavesTheBufferUntouched
  FileTest.readAllTestsTheBufferAheadOfTheFile
  ConfigSaveTest.storeWithoutAFileNameThrowsBeforeAnyFileIsTouched
  ConfigSaveTest.stepsOfTheExchangeComeInTheirOrder
  ConfigSaveTest.namesOfTheFileAndOfTheNewOneAreWidenedFromUtf8
  ConfigMgmtTest.constructionWithoutAFileTouchesNothing
  ConfigMgmtTest.failedReadingIsAnException
  ConfigMgmtTest.existenceIsTestedBeforeTheFileIsOpened
  ConfigMgmtReloadTest.leavesTheStoreEmptyAfterAFailedReading
  TextTest.widensWhatIsNotAsciiThroughThePlatformsUtf8
  TextTest.widensEveryCharacterOfAsciiToItselfWithoutAskingThePlatform
  TextTest.appendsNothingWhenThePlatformCannotWiden
  TextTest.widensNothingToNothingWithoutAskingThePlatform
  TextTest.isEmptyWhenThePlatformCannotWiden
  TextTest.isEmptyWhenThePlatformFailsHalfWay
  LogTextTest.losesNarrowTextThatThePlatformDoesNotWidenAndNothingElse
  LogItemTest.readsTheClockForBothChannelsAlsoWhenNobodyTakesTheItem
  CmdLinePromptTest.plainValueIsTypedInTheOpen
  CmdLinePromptTest.valueThatThePlatformDoesNotWidenIsEmpty
  # because they set the clock, listen to the debug output or look at the console's mode,
  LogItemTest.isStampedForEachOfItsTwoChannels
  LogItemTest.isALineOfStampTagLevelUseCaseAndText
  LogItemTest.dropsAnItemBelowTheThresholdInTheOutletAndNowhereEarlier
  CmdLinePromptTest.endOfTheInputEndsTheTriesWithAnEmptyValue
  # because they are denied a file,
  ConfigCheckTest.FileThatMayNotBeReadIsCorrupted
  # because they measure the machine's time, or the stand-in tells the model what it answers,
  ClientStandinTest.AnAnswerCanTakeTimeOnTheMachinesClock
  ClientStandinTest.AnyAnswerCanTakeTime
  ClientStandinTest.AnEntryCanWaitForEver
  ClientStandinTest.StepsAreReportedInTimeOnAThreadOfTheLibrarysOwn
  ClientStandinTest.AnswersAreTakenIntoTheRunsReport
  # because Wine's debugger looks at the crash for seconds, as it does in the scenario that has one, and
  # because each of many lines takes a process of its own,
  ClientStandinTest.AnEntryCanCrash
  ClientStandinTest.AMalformedLineEndsTheProcessWithItsReason
  # because Wine has other words for an error,
  ExceptionFieldsTest.aSystemFailureHasItsErrorAndThenTheLastTextToldOfIt
  ExceptionFieldsTest.aCopyHasTheLastTextToldOfASystemFailure
  ExceptionFieldsTest.aFailedStepOfTheProcessHasItsCode
  # or because Wine moves to a position beyond 4 GiB.
  LargeFileTest.writeCannotMoveToAnEndBeyond4GiB)
list(JOIN stays_over_the_model ":" left_out)

list(TRANSFORM runs_under_wine PREPEND ${unit}/)
add_executable(windows_unit_tests ${runs_under_wine} ${unit}/runtime/FailingAllocation.cpp
               ${CMAKE_SOURCE_DIR}/tests/support/LogRecorder.cpp
               ${CMAKE_SOURCE_DIR}/tests/support/ResourceLibrary.cpp tests.rc
               ${GOOGLETEST_SOURCES}/googletest/src/gtest_main.cc)
target_include_directories(windows_unit_tests BEFORE PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/surroundings)
# Wine's drive Z is the whole system.
target_compile_definitions(windows_unit_tests PRIVATE STANDINS_DIR="Z:${CMAKE_BINARY_DIR}/standins")
target_link_libraries(windows_unit_tests PRIVATE product platform config_check windows_test)
# As most of the time goes into headers, what can be compiled together is, and the rest finds the
# framework's read already. Unnamed namespaces of these share names with those of others.
set_target_properties(windows_unit_tests PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
target_precompile_headers(windows_unit_tests PRIVATE <gtest/gtest.h> <functional> <string> <vector>)
set(compiled_alone
  client/talsStatusTest.cpp
  diagnostics/ExceptionFieldsTest.cpp
  diagnostics/LogRecorderTest.cpp
  runtime/ConfigBytesTest.cpp
  runtime/ConfigLineTest.cpp
  runtime/ConfigMemoryTest.cpp
  runtime/ConfigMgmtTest.cpp
  runtime/ConfigOutcomesTest.cpp
  runtime/ConfigSaveTest.cpp
  runtime/FileTest.cpp
  runtime/SlotOrderTest.cpp)
list(TRANSFORM compiled_alone PREPEND ${unit}/)
set_source_files_properties(${compiled_alone} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
add_test(NAME wine.unitTests
  COMMAND ${CMAKE_COMMAND} -E env SESSION=${CMAKE_SOURCE_DIR}/platform/wine/session.sh
          TEMPLATE=${CMAKE_SOURCE_DIR}/build/wine/template
          RESULTS=${CMAKE_BINARY_DIR}/windows_unit_tests.json
          bash ${CMAKE_CURRENT_SOURCE_DIR}/unit_test.sh $<TARGET_FILE:windows_unit_tests>
          --gtest_filter=-${left_out})
set_tests_properties(wine.unitTests PROPERTIES TIMEOUT 240
                     FIXTURES_SETUP windows_unit_tests_results)
