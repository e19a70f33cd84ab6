// The program of the contract suite: runs the tests, each with surroundings of its own, and writes
// the table of calls that comes of it (`--table=FILE`).

#include "tests/contract/Contract.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tests/contract/SmallService.h"

namespace contract {
namespace {

constexpr std::string_view kTableFlag = "--table=";
constexpr int kMisused = 2;

struct Row {
  std::string promise;
  Seen seen = Seen::kSame;
  std::string reason;
};

// "ITaskFolder_GetTask" is a method, "CM_Locate_DevNodeW" is none.
std::string callOf(const std::string& suite) {
  const std::size_t end = suite.find('_');
  const bool isMethod =
      end != std::string::npos && end > 1 && suite[0] == 'I' && suite[1] >= 'A' && suite[1] <= 'Z';
  return isMethod ? suite.substr(0, end) + "::" + suite.substr(end + 1) : suite;
}

// What is to be said of a call beside how many of its promises are the same, in the order in which
// the reasons came.
std::string otherwise(const std::vector<Row>& rows) {
  std::vector<std::string> parts;
  std::vector<const Row*> said;
  for (const Row& row : rows) {
    bool isSaid = row.seen == Seen::kSame;
    for (const Row* other : said) {
      isSaid = isSaid || (other->seen == row.seen && other->reason == row.reason);
    }
    if (isSaid) {
      continue;
    }
    said.push_back(&row);
    std::string names;
    std::size_t count = 0;
    for (const Row& other : rows) {
      if (other.seen == row.seen && other.reason == row.reason) {
        names += (names.empty() ? "" : ", ") + other.promise;
        ++count;
      }
    }
    if (row.seen == Seen::kDiffers) {
      parts.push_back("differs: " + names + " (" + row.reason + ")");
    } else if (row.seen == Seen::kNotAtAll) {
      parts.push_back("cannot be seen: " + names + " (" + row.reason + ")");
    } else {
      parts.push_back(
          "kept by the stand-in: " + (count == rows.size() ? std::string("all") : names) + " (" +
          row.reason + ")");
    }
  }
  std::string text;
  for (const std::string& part : parts) {
    text += (text.empty() ? "" : "; ") + part;
  }
  return text;
}

class Table : public testing::EmptyTestEventListener {
 public:
  void OnTestStart(const testing::TestInfo&) override {
    row_ = {};
    prepare();
  }

  void OnTestEnd(const testing::TestInfo& test) override {
    // The suite of the tests about the suite itself is no call.
    if (test.test_suite_name() == std::string_view("ContractTest")) {
      return;
    }
    row_.promise = test.name();
    rows_[callOf(test.test_suite_name())].push_back(row_);
  }

  void note(Seen seen, const char* reason) {
    row_.seen = seen;
    row_.reason = reason;
  }

  void write(std::ostream& out) const {
    out << "| call | promises | the same | otherwise |\n|---|---|---|---|\n";
    for (const auto& [call, rows] : rows_) {
      std::size_t same = 0;
      for (const Row& row : rows) {
        same += row.seen == Seen::kSame ? 1 : 0;
      }
      out << "| `" << call << "` | " << rows.size() << " | " << same << " | " << otherwise(rows)
          << " |\n";
    }
  }

 private:
  Row row_;
  std::map<std::string, std::vector<Row>> rows_;
};

// Owned by the test program's list of listeners.
Table* table = nullptr;

}  // namespace

void note(Seen seen, const char* reason) {
  table->note(seen, reason);
}

}  // namespace contract

int main(int argc, char** argv) {
  if (contract::isServiceStart(argc, argv)) {
    return contract::serve();
  }
  testing::InitGoogleTest(&argc, argv);
  contract::table = new contract::Table;
  testing::UnitTest::GetInstance()->listeners().Append(contract::table);
  std::string file;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (!argument.starts_with(contract::kTableFlag)) {
      std::cerr << "contract_tests: " << argument << ": no such option\n";
      return contract::kMisused;
    }
    file = argument.substr(contract::kTableFlag.size());
  }
  const int result = RUN_ALL_TESTS();
  if (!file.empty()) {
    std::ofstream out(file, std::ios::binary);
    contract::table->write(out);
    if (!out.flush()) {
      std::cerr << "contract_tests: " << file << " cannot be written\n";
      return EXIT_FAILURE;
    }
  }
  return result;
}
