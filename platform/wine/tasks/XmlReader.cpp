// Reads a task's document without the library that the model uses, which the platform lacks: what
// such documents hold, elements, attributes, texts, comments and the five entities with the
// numbered ones, and no declarations of a document's own kind.

#include <cctype>
#include <cstdlib>

#include "platform/host/TaskDocument.h"
#include "platform/host/Text.h"

namespace host {
namespace {

constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kTaskNamespace = "http://schemas.microsoft.com/windows/2004/02/mit/task";
constexpr std::string_view kBlanks = " \t\r\n";

using Node = std::shared_ptr<TaskNode>;

// Each step answers false, or null, for a text that is not well-formed; nothing more is read then.
class Reader {
 public:
  explicit Reader(std::string_view text) : left_(text) {}

  Node document() {
    skipOutside();
    const Node root = element();
    skipOutside();
    return left_.empty() ? root : nullptr;
  }

 private:
  bool takes(std::string_view wanted) {
    if (!left_.starts_with(wanted)) {
      return false;
    }
    left_.remove_prefix(wanted.size());
    return true;
  }

  void skipBlanks() {
    left_.remove_prefix(std::min(left_.find_first_not_of(kBlanks), left_.size()));
  }

  // What stands up to `end`, which is taken too.
  bool takeUpTo(std::string_view end, std::string_view& piece) {
    const std::size_t at = left_.find(end);
    if (at == std::string_view::npos) {
      return false;
    }
    piece = left_.substr(0, at);
    left_.remove_prefix(at + end.size());
    return true;
  }

  void skipOutside() {
    std::string_view ignored;
    do {
      skipBlanks();
    } while ((takes("<?") && takeUpTo("?>", ignored)) ||
             (takes("<!--") && takeUpTo("-->", ignored)));
  }

  std::string name() {
    const std::size_t end = std::min(left_.find_first_of(" \t\r\n=/><&\"'"), left_.size());
    const std::string found(left_.substr(0, end));
    left_.remove_prefix(end);
    return found;
  }

  static bool decode(std::string_view piece, std::string& text) {
    while (!piece.empty()) {
      const std::size_t at = std::min(piece.find('&'), piece.size());
      text += piece.substr(0, at);
      piece.remove_prefix(at);
      if (piece.empty()) {
        return true;
      }
      const std::size_t end = piece.find(';');
      if (end == std::string_view::npos || !addEntity(piece.substr(1, end - 1), text)) {
        return false;
      }
      piece.remove_prefix(end + 1);
    }
    return true;
  }

  static bool addEntity(std::string_view entity, std::string& text) {
    constexpr std::pair<std::string_view, char> kNamed[] = {
        {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto& [known, character] : kNamed) {
      if (entity == known) {
        text += character;
        return true;
      }
    }
    if (!entity.starts_with('#')) {
      return false;
    }
    const bool isHexadecimal = entity.starts_with("#x");
    const std::string digits(entity.substr(isHexadecimal ? 2 : 1));
    char* end = nullptr;
    const long code = std::strtol(digits.c_str(), &end, isHexadecimal ? 16 : 10);
    if (digits.empty() || *end != '\0' || code <= 0 || code > 0xFFFF) {
      return false;
    }
    text += toUtf8(std::wstring(1, static_cast<wchar_t>(code)));
    return true;
  }

  bool attributes(TaskNode& node) {
    for (skipBlanks(); !left_.starts_with('>') && !left_.starts_with("/>"); skipBlanks()) {
      const std::string key = name();
      skipBlanks();
      if (key.empty() || !takes("=")) {
        return false;
      }
      skipBlanks();
      const std::string quote(left_.substr(0, 1));
      std::string_view piece;
      std::string value;
      if ((quote != "\"" && quote != "'") || !takes(quote) || !takeUpTo(quote, piece) ||
          !decode(piece, value)) {
        return false;
      }
      node.attributes.emplace_back(key, value);
    }
    return true;
  }

  Node element() {
    if (!takes("<")) {
      return nullptr;
    }
    auto node = std::make_shared<TaskNode>();
    node->name = name();
    if (node->name.empty() || !attributes(*node)) {
      return nullptr;
    }
    if (takes("/>")) {
      return node;
    }
    return takes(">") && content(*node) ? node : nullptr;
  }

  // Text alone is the element's own; between elements only what is no white space counts.
  bool content(TaskNode& node) {
    std::string_view ignored;
    while (!takes("</")) {
      if (takes("<!--")) {
        if (!takeUpTo("-->", ignored)) {
          return false;
        }
      } else if (left_.starts_with('<')) {
        node.children.push_back(element());
        if (node.children.back() == nullptr) {
          return false;
        }
      } else {
        const std::size_t end = left_.find('<');
        if (end == std::string_view::npos || !decode(left_.substr(0, end), node.text)) {
          return false;
        }
        left_.remove_prefix(end);
      }
    }
    if (!node.children.empty()) {
      node.text.clear();
    }
    const bool isItsEnd = name() == node.name;
    skipBlanks();
    return isItsEnd && takes(">");
  }

  std::string_view left_;
};

}  // namespace

std::string decodedText(std::string_view bytes) {
  if (!bytes.starts_with(kUtf16Mark)) {
    return std::string(bytes.starts_with(kUtf8Mark) ? bytes.substr(kUtf8Mark.size()) : bytes);
  }
  std::wstring wide;
  for (std::size_t at = kUtf16Mark.size(); at + 1 < bytes.size(); at += 2) {
    const auto low = static_cast<unsigned char>(bytes[at]);
    const auto high = static_cast<unsigned char>(bytes[at + 1]);
    wide += static_cast<wchar_t>(low | (high << 8U));
  }
  return toUtf8(wide);
}

std::shared_ptr<TaskNode> readTaskDocument(std::string_view bytes) {
  const std::string text = decodedText(bytes);
  const std::shared_ptr<TaskNode> root = Reader(text).document();
  const bool isTask = root != nullptr && root->name == "Task" &&
                      root->attribute("xmlns").value_or("") == kTaskNamespace;
  return isTask ? root : nullptr;
}

}  // namespace host
