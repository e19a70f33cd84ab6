// Every call on every road through the scheduled task's operations, failed once, failed from then
// on, and failed with all that follow: nothing happens but what the tables of the roads say.

#include <gmock/gmock.h>

#include <iostream>
#include <map>
#include <set>

#include "task/ComError.h"
#include "tests/support/NullPointerEnd.h"
#include "tests/unit/task/LifecycleFixture.h"
#include "tests/unit/task/RoadEnd.h"
#include "tests/unit/task/TaskTrace.h"

namespace roads {

// How a place is shown where a test of it has failed.
static void PrintTo(const Place& place, std::ostream* stream) {
  *stream << place.road->name << " at " << place.step().text;
}

}  // namespace roads

namespace {

using roads::Failure;
using roads::Place;
using roads::Road;
using roads::RoadEnd;
using roads::Step;

enum class How { kOnce, kFromThenOn, kWithAllThatFollow };

std::vector<Place> places(bool withStrings) {
  std::vector<Place> all;
  for (const Road* road :
       {&roads::creation(), &roads::inOrder(), &roads::repointing(), &roads::deletion()}) {
    for (std::size_t i = 0; i < road->steps.size(); ++i) {
      const Failure failure = road->steps[i].failure;
      const bool isWanted = withStrings || failure != Failure::kThrows;
      if (failure != Failure::kImpossible && isWanted) all.push_back({road, i});
    }
  }
  return all;
}

std::string nameOf(const Place& place) {
  std::string name =
      std::string(place.road->name) + std::to_string(place.index + 1) + place.step().call();
  std::erase_if(name, [](char character) { return character == ':' || character == '_'; });
  return name;
}

class PathSweepTest : public LifecycleTest {
 protected:
  void prepare(const Road& road) {
    if (road.existing != nullptr) makeTask(road.existing);
    trace.clear();
  }

  static void arm(const Place& place, How how) {
    std::map<std::string, unsigned> passed;
    for (std::size_t i = 0; i < place.index; ++i) ++passed[place.road->steps[i].call()];
    const std::string call = place.step().call();
    if (how == How::kOnce) {
      faults().failOnce(call, 0x80070005, passed[call] + 1);
      return;
    }
    faults().failFrom(call, 0x80070005, passed[call] + 1);
    if (how == How::kFromThenOn) return;
    std::set<std::string> armed = {call};
    for (std::size_t i = place.index + 1; i < place.road->steps.size(); ++i) {
      const Step& step = place.road->steps[i];
      const std::string next = step.call();
      if (step.failure == Failure::kImpossible || step.failure == Failure::kThrows) continue;
      if (armed.insert(next).second) faults().failFrom(next, 0x80070005, passed[next] + 1);
    }
    // The one call that is made where the road has ended.
    if (call == "ITaskDefinition::get_RegistrationInfo") {
      faults().failFrom("ITaskDefinition::get_Settings", 0x80070005);
    }
  }

  // What a road threw: the result of a ComError, 0 for nothing.
  static DWORD thrownBy(const Road& road) {
    try {
      road.run();
    } catch (const ComError& e) {
      return static_cast<DWORD>(e.Error());
    }
    return 0;
  }

  // The calls that gave what is still held.
  static roads::Texts heldReferences() {
    roads::Texts makers;
    for (const auto& entry : ledger().stillOpen()) {
      if (entry.kind == "reference") makers.push_back(entry.maker);
    }
    return makers;
  }

  void expectAfterRun(const RoadEnd& expected, DWORD thrown) {
    EXPECT_EQ(trace.texts(), expected.trace);
    EXPECT_EQ(ledger().violations(), expected.violations);
    EXPECT_EQ(heldReferences(), expected.left);
    EXPECT_EQ(ledger().open("bstr"), 0U);
    const bool isThrown = expected.end == Failure::kThrows;
    EXPECT_EQ(thrown, isThrown ? 0x8007000EU : 0U);
    // Nobody closes COM on the way of the exception.
    EXPECT_EQ(ledger().open("com"), isThrown ? 1U : 0U);
    if (isThrown) CoUninitialize();
  }

  // In the process that is to end: shows its sequence when the fault comes.
  void showTheTraceAtTheFault() {
    shown = &trace;
    std::signal(SIGSEGV, [](int) {
      for (const std::string& text : shown->texts()) std::cerr << text << "|";
      std::cerr << "fault" << std::endl;
      letTheFaultEndTheProcess();
    });
  }

  void expectFault(const Place& place, How how, const RoadEnd& expected) {
    std::string sequence;
    for (const std::string& text : expected.trace) sequence += text + "|";
#ifdef __SANITIZE_ADDRESS__
    sequence.clear();
#else
    sequence += "fault";
#endif
    EXPECT_EXIT(
        {
          arm(place, how);
          showTheTraceAtTheFault();
          place.road->run();
        },
        usedANullPointer, ::testing::StartsWith(sequence));
  }

  void sweep(const Place& place, How how) {
    prepare(*place.road);
    const RoadEnd expected =
        how == How::kWithAllThatFollow ? roads::afterAllFail(place) : roads::afterOneFailure(place);
    if (expected.end == Failure::kDies) {
      expectFault(place, how, expected);
    } else {
      arm(place, how);
      expectAfterRun(expected, thrownBy(*place.road));
      faults().clear();
    }
    EXPECT_EQ(storedPath(), expected.stored);
  }

  TaskTrace trace;

 private:
  static inline TaskTrace* shown = nullptr;
};

class WholeRoadTest : public PathSweepTest, public ::testing::WithParamInterface<const Road*> {};

TEST_P(WholeRoadTest, isWalkedAsItsTableSays) {
  const Road& road = *GetParam();
  prepare(road);
  EXPECT_EQ(thrownBy(road), 0U);
  EXPECT_EQ(trace.texts(), roads::textsOf(road, 0, road.steps.size()));
  expectBalanced();
  EXPECT_EQ(storedPath(), road.after);
}

// Only a negative result is a failure: 0x0004131B is what the scheduler says when it has stored a
// task but could not start one of its triggers.
TEST_P(WholeRoadTest, isWalkedTheSameIfEveryMethodAnswersWithAnotherSuccess) {
  const Road& road = *GetParam();
  prepare(road);
  std::size_t told = 0;
  for (const Step& step : road.steps) {
    if (step.call().find("::") == std::string::npos) continue;
    faults().failFrom(step.call(), 0x0004131B);
    ++told;
  }
  EXPECT_GE(told, 3U);
  EXPECT_EQ(thrownBy(road), 0U);
  faults().clear();
  EXPECT_EQ(trace.texts(), roads::textsOf(road, 0, road.steps.size()));
  expectBalanced();
  EXPECT_EQ(storedPath(), road.after);
}

INSTANTIATE_TEST_SUITE_P(Roads, WholeRoadTest,
                         ::testing::Values(&roads::creation(), &roads::inOrder(),
                                           &roads::repointing(), &roads::deletion()),
                         [](const auto& row) { return std::string(row.param->name); });

class FailedCallTest : public PathSweepTest, public ::testing::WithParamInterface<Place> {};

TEST_P(FailedCallTest, failedOnceLeadsToWhatItsTableSays) {
  sweep(GetParam(), How::kOnce);
}

TEST_P(FailedCallTest, failedFromThenOnLeadsToWhatItsTableSays) {
  sweep(GetParam(), How::kFromThenOn);
}

INSTANTIATE_TEST_SUITE_P(Calls, FailedCallTest, ::testing::ValuesIn(places(true)),
                         [](const auto& row) { return nameOf(row.param); });

// The scheduler is gone from a call on. Strings are no matter of the scheduler's.
class GoneSchedulerTest : public PathSweepTest, public ::testing::WithParamInterface<Place> {};

TEST_P(GoneSchedulerTest, firstFailureThatIsLookedAtDecides) {
  sweep(GetParam(), How::kWithAllThatFollow);
}

INSTANTIATE_TEST_SUITE_P(Calls, GoneSchedulerTest, ::testing::ValuesIn(places(false)),
                         [](const auto& row) { return nameOf(row.param); });

}  // namespace
