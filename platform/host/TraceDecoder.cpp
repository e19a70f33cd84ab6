#include "platform/host/TraceDecoder.h"

#include <cstdio>
#include <string_view>

#include "platform/host/Text.h"

namespace host {
namespace {

constexpr ULONG kUserData = 0;
constexpr ULONG kEventMetadata = 1;
constexpr ULONG kProviderMetadata = 2;
constexpr UCHAR kUtf16Text = 1;
constexpr UCHAR kNarrowText = 2;
constexpr unsigned kMoreTags = 0x80;

// Takes a text of bytes apart from its beginning to its end.
class Reader {
 public:
  Reader(std::string_view bytes, std::string of) : left_(bytes), of_(std::move(of)) {}

  bool isEmpty() const { return left_.empty(); }
  std::size_t left() const { return left_.size(); }
  const std::string& of() const { return of_; }

  unsigned byte() {
    if (left_.empty()) {
      throw TraceFault{of_ + " ends too early"};
    }
    const auto first = static_cast<unsigned char>(left_.front());
    left_.remove_prefix(1);
    return first;
  }

  unsigned word() {
    const unsigned low = byte();
    return low + 256 * byte();
  }

  std::string text() {
    std::string text;
    while (const unsigned next = byte()) {
      text += static_cast<char>(next);
    }
    return text;
  }

  std::u16string utf16() {
    std::u16string text;
    while (const unsigned next = word()) {
      text += static_cast<char16_t>(next);
    }
    return text;
  }

  // Skips the length at the head, which must be that of the whole.
  void checkLength() {
    const std::size_t whole = left_.size();
    const unsigned told = word();
    if (told != whole) {
      throw TraceFault{of_ + " says that it has " + std::to_string(told) + " bytes and has " +
                       std::to_string(whole)};
    }
  }

  void checkEnd() const {
    if (!left_.empty()) {
      throw TraceFault{std::to_string(left_.size()) + " bytes are left over in " + of_};
    }
  }

 private:
  std::string_view left_;
  std::string of_;
};

// The block at this place, which must be of this type.
std::string_view blockAt(const TraceEvent& event, std::size_t place, ULONG type, const char* what) {
  if (place >= event.blocks.size() || event.blocks[place].type != type) {
    throw TraceFault{"block " + std::to_string(place) + " is not " + what};
  }
  return event.blocks[place].bytes;
}

void readProvider(const TraceEvent& event, DecodedEvent& decoded) {
  Reader reader(blockAt(event, 0, kProviderMetadata, "the provider"), "the provider");
  reader.checkLength();
  decoded.provider = reader.text();
  reader.checkEnd();
}

void readEvent(const TraceEvent& event, DecodedEvent& decoded) {
  Reader reader(blockAt(event, 1, kEventMetadata, "the event"), "the event");
  reader.checkLength();
  while ((reader.byte() & kMoreTags) != 0) {
  }
  decoded.name = reader.text();
  while (!reader.isEmpty()) {
    DecodedEvent::Field& field = decoded.fields.emplace_back();
    field.name = reader.text();
    field.type = static_cast<UCHAR>(reader.byte());
  }
}

std::u16string readText(Reader& reader, UCHAR type, const std::string& field) {
  if (type == kUtf16Text) {
    return reader.utf16();
  }
  if (type != kNarrowText) {
    throw TraceFault{"the field " + field + " is of an unknown type, " + std::to_string(type)};
  }
  const std::string narrow = reader.text();
  return {narrow.begin(), narrow.end()};
}

// The platform strings the data of all blocks together; one for each field is what makes tools able
// to read it, and what a provider is to write.
void readFields(const TraceEvent& event, DecodedEvent& decoded) {
  constexpr std::size_t kMetadataBlocks = 2;
  const std::size_t values = event.blocks.size() - kMetadataBlocks;
  if (values != decoded.fields.size()) {
    throw TraceFault{std::to_string(decoded.fields.size()) + " fields have " +
                     std::to_string(values) + " values"};
  }
  for (std::size_t i = 0; i < values; ++i) {
    DecodedEvent::Field& field = decoded.fields[i];
    Reader reader(blockAt(event, i + kMetadataBlocks, kUserData, "a value"),
                  "the field " + field.name);
    field.text = readText(reader, field.type, field.name);
    reader.checkEnd();
  }
}

// A surrogate that has no partner becomes U+FFFD on the way to UTF-8.
std::wstring wideOf(const std::u16string& text) {
  std::wstring wide;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::uint32_t unit = text[i];
    const bool isPair = unit >= 0xD800 && unit < 0xDC00 && i + 1 < text.size() &&
                        text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
    wide += static_cast<wchar_t>(isPair ? 0x10000 + ((unit - 0xD800) << 10U) + (text[++i] - 0xDC00U)
                                        : unit);
  }
  return wide;
}

// For one line that people read: control characters as escapes, and bytes that are no UTF-8 as
// U+FFFD. Names come from whoever wrote the event.
std::string shown(std::string_view text) {
  constexpr char kFirstPrintable = ' ';
  std::string result;
  for (const char character : toUtf8(toWide(text))) {
    if (character == '\r') {
      result += "\\r";
    } else if (character == '\n') {
      result += "\\n";
    } else if (character >= 0 && character < kFirstPrintable) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(character));
      result += escape;
    } else {
      result += character;
    }
  }
  return result;
}

}  // namespace

std::variant<DecodedEvent, TraceFault> decode(const TraceEvent& event) {
  try {
    DecodedEvent decoded;
    readProvider(event, decoded);
    readEvent(event, decoded);
    readFields(event, decoded);
    return decoded;
  } catch (const TraceFault& fault) {
    return fault;
  }
}

std::string describe(const TraceEvent& event) {
  const auto result = decode(event);
  if (const auto* fault = std::get_if<TraceFault>(&result)) {
    return "an event that cannot be read: " + shown(fault->reason);
  }
  const auto& decoded = std::get<DecodedEvent>(result);
  std::string line = shown(decoded.provider) + " " + shown(decoded.name) + ", level " +
                     std::to_string(event.descriptor.Level);
  for (const DecodedEvent::Field& field : decoded.fields) {
    line += ", " + shown(field.name) + " \"" + shown(toUtf8(wideOf(field.text))) + "\"";
  }
  return line;
}

}  // namespace host
