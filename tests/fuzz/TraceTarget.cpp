// Trace events: what the outlet writes is read back as it was meant, and bytes that are no event
// are refused without harm.

#include <array>
#include <memory>
#include <string>
#include <variant>

#include "VUSL/Support/EtwLogOutlet.h"
#include "VUSL/Support/Text.h"
#include "platform/host/Machine.h"
#include "platform/host/Text.h"
#include "platform/host/TraceDecoder.h"
#include "tests/fuzz/Fuzz.h"

namespace fuzz {
namespace {

struct LevelRow {
  int level;
  const char* name;
  UCHAR eventLevel;
};
constexpr std::array kLevelRows = {LevelRow{0, "VER", 5}, LevelRow{1, "DBG", 5},
                                   LevelRow{2, "INF", 4}, LevelRow{3, "ERR", 2},
                                   LevelRow{4, "FTL", 1}};

// Characters of one, two and four bytes in UTF-8, and halves of pairs.
std::wstring wideText(std::string_view bytes) {
  std::wstring text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += static_cast<wchar_t>(value < 0x80   ? value
                                 : value < 0xC0 ? 0x80 + (value - 0x80) * 0x155
                                 : value < 0xE0 ? 0xD7F0 + (value - 0xC0) * 0x49
                                                : 0x10000 + (value - 0xE0) * 0x7FFF);
  }
  return text;
}

std::u16string utf16Of(const std::wstring& text) {
  std::u16string units;
  for (const wchar_t character : text) {
    const auto value = static_cast<std::uint32_t>(character);
    if (value < 0x10000) {
      units += static_cast<char16_t>(value);
    } else {
      units += static_cast<char16_t>(0xD800 + ((value - 0x10000) >> 10U));
      units += static_cast<char16_t>(0xDC00 + ((value - 0x10000) & 0x3FFU));
    }
  }
  return units;
}

// One line that can be shown.
void checkDescription(const host::TraceEvent& event) {
  const std::string line = host::describe(event);
  for (const char character : line) {
    require(static_cast<unsigned char>(character) >= 0x20, "a description is one line of text");
  }
  require(host::toUtf8(host::toWide(line)) == line, "a description is UTF-8");
}

// A block holds two bytes of length, a name, and a zero.
std::string lengthAndName(const std::string& name) {
  const std::size_t size = name.size() + 3;
  std::string block;
  block += static_cast<char>(size & 0xFFU);
  block += static_cast<char>(size >> 8U);
  return block + name + '\0';
}

std::string valueBytes(const host::DecodedEvent::Field& field) {
  std::string bytes;
  for (const char16_t unit : field.text + u'\0') {
    bytes += static_cast<char>(unit & 0xFFU);
    if (field.type == 1) {
      bytes += static_cast<char>(unit >> 8U);
    }
  }
  return bytes;
}

}  // namespace

void runTraceEvent(std::string_view bytes) {
  static std::unique_ptr<EtwLogOutlet> outlet;
  constexpr char kSession[] = "fuzz";
  if (isMachineFresh()) {
    TraceProvider* const provider = FindTraceProvider("TPMEnrollmentService.log");
    require(provider != nullptr, "the service has a provider");
    outlet.reset();
    host::machine().trace.enable(kSession, provider->id, {});
    outlet = std::make_unique<EtwLogOutlet>();
    EtwLogOutlet::level = LogLevel::kVerbose;
    outlet->registerProvider(provider);
  }
  Input input(bytes);
  const LevelRow& row = kLevelRows[input.byte() % kLevelRows.size()];
  const std::wstring message = wideText(input.rest());
  outlet->Log(L"", L"", message, row.level);

  auto& session = host::machine().trace.sessions.front();
  require(session.events.size() == 1, "a line is one event");
  const host::TraceEvent event = std::move(session.events.front());
  session.events.clear();
  const auto decoded = host::decode(event);
  require(std::holds_alternative<host::DecodedEvent>(decoded), "an event of ours can be read");
  const auto& read = std::get<host::DecodedEvent>(decoded);
  require(event.descriptor.Level == row.eventLevel, "the event has the level of its line");
  require(read.provider == "TPMEnrollmentService" && read.name == "Log", "the event names itself");
  require(read.fields.size() == 2, "the event has two fields");
  require(read.fields[0].name == "logLevel" && read.fields[0].type == 2, "the level is narrow");
  const std::string name(row.name);
  require(read.fields[0].text == std::u16string(name.begin(), name.end()), "the level is named");
  require(read.fields[1].name == "Message" && read.fields[1].type == 1, "the message is UTF-16");
  const std::wstring shown = message + L"\r\n";
  require(read.fields[1].text == utf16Of(shown.substr(0, shown.find(L'\0'))),
          "the message is the line up to its first zero");
  checkDescription(event);
}

void runTraceBytes(std::string_view bytes) {
  Input input(bytes);
  host::TraceEvent event;
  event.descriptor.Level = static_cast<UCHAR>(input.byte());
  for (unsigned left = input.byte() % 8; left > 0; --left) {
    host::TraceEvent::Block& block = event.blocks.emplace_back();
    block.type = input.byte() % 4;
    for (unsigned size = input.byte(); size > 0 && !input.isEmpty(); --size) {
      block.bytes += static_cast<char>(input.byte());
    }
  }
  checkDescription(event);
  const auto decoded = host::decode(event);
  if (const auto* fault = std::get_if<host::TraceFault>(&decoded)) {
    require(!fault->reason.empty(), "what cannot be read is refused with a reason");
    return;
  }
  const auto& read = std::get<host::DecodedEvent>(decoded);
  require(event.blocks.size() == read.fields.size() + 2, "each field has its block");
  require(event.blocks[0].bytes == lengthAndName(read.provider), "the provider is what was read");
  for (std::size_t i = 0; i < read.fields.size(); ++i) {
    require(event.blocks[i + 2].bytes == valueBytes(read.fields[i]), "a value is what was read");
  }
}

}  // namespace fuzz
