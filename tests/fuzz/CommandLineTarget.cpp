// The command line, with parameters of every kind, held against a reader that goes step by step.

#include <algorithm>
#include <array>
#include <sstream>
#include <string>
#include <vector>

#include "VUSL/Support/CmdLineExc.h"
#include "VUSL/Support/CmdLineProc.h"
#include "VUSL/Support/InvalidInputError.h"
#include "VUSL/Support/ResourceLoader.h"
#include "platform/host/Machine.h"
#include "tests/fuzz/CommandLineReader.h"
#include "tests/fuzz/Fuzz.h"

namespace fuzz {
namespace {

constexpr std::array<const wchar_t*, 8> kNames = {L"help", L"A",    L"a",   L"alpha",
                                                  L"Help", L"\xC4", L"b-c", L""};
constexpr std::array<const wchar_t*, 4> kPrefixes = {L"-", L"-/", L"/", L""};

std::wstring wideArgument(std::string_view bytes) {
  std::wstring text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += value < 0xC0 ? static_cast<wchar_t>(value) : static_cast<wchar_t>(value * 0x101);
  }
  return text;
}

CmdLineParameter parameterFrom(Input& input) {
  const unsigned names = input.byte();
  const unsigned options = input.byte();
  CmdLineParameter parameter(kNames[names % 8]);
  parameter.alias = names / 8 % 4 == 3 ? kNames[names / 32] : L"";
  parameter.kind = static_cast<CmdLineParameterKind>(options % 5);
  parameter.required = options / 5 % 4 == 3;
  parameter.promptId = options / 20;
  if (options / 20 % 4 == 3) {
    const unsigned companions = input.byte();
    for (unsigned i = 0; i < 3 && companions >> (3 * i) != 0; ++i) {
      parameter.companions.emplace_back(kNames[companions >> (3 * i) & 7U]);
    }
    parameter.value = wideArgument(input.piece());
  }
  return parameter;
}

CommandLineRules rulesFrom(Input& input) {
  CommandLineRules rules;
  const unsigned options = input.byte();
  rules.prefix = kPrefixes[options % 4];
  rules.groups.resize(1 + options / 4 % 2);
  const unsigned count = options / 8 % 8;
  for (unsigned i = 0; i < count; ++i) {
    rules.groups[input.byte() % rules.groups.size()].push_back(i);
    rules.parameters.push_back(parameterFrom(input));
  }
  for (const char byte : input.piece()) {
    rules.typed += static_cast<char>(byte & 0x7F);
  }
  return rules;
}

std::string joined(const std::vector<std::string>& parameters) {
  std::string text;
  for (const std::string& parameter : parameters) {
    text += parameter + ";";
  }
  return text;
}

// The parser with these rules: groups keep the order in which the parameters come.
std::vector<const CmdLineParameter*> registerAll(vusl::CmdLineProc& parser,
                                                 const CommandLineRules& rules, std::istream& in,
                                                 std::ostream& out) {
  std::vector<CmdLineGroup*> groups;
  for (std::size_t i = 0; i < rules.groups.size(); ++i) {
    groups.push_back(&parser.addGroup(L"group"));
  }
  std::vector<const CmdLineParameter*> records;
  for (std::size_t i = 0; i < rules.parameters.size(); ++i) {
    const auto& first = rules.groups[0];
    const bool isFirst = std::find(first.begin(), first.end(), i) != first.end();
    CmdLineParameter& record =
        parser.addParameter(*groups[isFirst ? 0 : 1], rules.parameters[i].name);
    record = rules.parameters[i];
    record.in = &in;
    record.out = &out;
    records.push_back(&record);
  }
  return records;
}

CommandLineOutcome parse(const CommandLineRules& rules, const std::vector<std::wstring>& line) {
  std::istringstream in(rules.typed);
  std::ostringstream out;
  vusl::CmdLineProc parser(rules.prefix, out, in);
  const auto records = registerAll(parser, rules, in, out);
  std::vector<const wchar_t*> arguments;
  for (const std::wstring& argument : line) {
    arguments.push_back(argument.c_str());
  }
  CommandLineOutcome outcome;
  try {
    parser.parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
  } catch (const vusl::InvalidInputError& error) {
    outcome.kind = CommandLineOutcome::Kind::kInvalid;
    outcome.resource = error.resourceId();
    outcome.parameters = joined(error.params());
  } catch (const vusl::CmdLineExc& error) {
    outcome.kind = CommandLineOutcome::Kind::kUsage;
    outcome.resource = error.resourceId();
    outcome.parameters = joined(error.params());
  }
  for (const CmdLineParameter* record : records) {
    outcome.records.push_back({record->index, record->value});
  }
  outcome.asked = out.str();
  return outcome;
}

// The prompts stand in the program itself, so that asking for one costs no look at the drive.
void giveTheProgramPrompts() {
  constexpr UINT kPrompts = 16;
  auto& strings = host::machine().stringTables[host::machine().programPath];
  for (UINT id = 0; id < kPrompts; ++id) {
    const std::string text = promptOf(id);
    strings[id] = std::wstring(text.begin(), text.end());
  }
  ResourceLoader::resourceLibraries = {{ResourceLoader::kEnglish, {}}};
  ResourceLoader::useOwnModule = true;
}

}  // namespace

void runCommandLine(std::string_view bytes) {
  if (isMachineFresh()) {
    giveTheProgramPrompts();
  }
  Input input(bytes);
  const CommandLineRules rules = rulesFrom(input);
  std::vector<std::wstring> line = {L"program"};
  while (!input.isEmpty() && line.size() < 40) {
    line.push_back(wideArgument(input.piece()));
  }
  const CommandLineOutcome expected = readCommandLine(rules, line);
  const CommandLineOutcome found = parse(rules, line);
  require(found.kind == expected.kind && found.resource == expected.resource,
          "a command line is refused when it must be, with the right id");
  require(found.parameters == expected.parameters, "what is refused is named");
  require(found.records == expected.records, "the records say what was given");
  require(found.asked == expected.asked, "values are asked for in the order of the line");
}

}  // namespace fuzz
