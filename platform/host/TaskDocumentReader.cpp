// Reading a task's document back.

#include <algorithm>

#include "platform/host/TaskDocument.h"
#include "platform/host/Text.h"
#include "platform/host/XmlLibrary.h"

namespace host {
namespace {

constexpr std::string_view kTaskNamespace = "http://schemas.microsoft.com/windows/2004/02/mit/task";
constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// The text of UTF-16 bytes, low byte first; a lone half of a pair becomes U+FFFD.
std::string fromUtf16(std::string_view bytes) {
  const auto unitAt = [&](std::size_t at) {
    const auto low = static_cast<unsigned char>(bytes[at]);
    const auto high = static_cast<unsigned char>(bytes[at + 1]);
    return static_cast<char32_t>(low | (high << 8U));
  };
  std::wstring wide;
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
    char32_t value = unitAt(at);
    if (value >= 0xD800 && value < 0xE000) {
      const char32_t next = value < 0xDC00 && at + 3 < bytes.size() ? unitAt(at + 2) : 0;
      const bool isPair = next >= 0xDC00 && next < 0xE000;
      value = isPair ? 0x10000U + ((value - 0xD800U) << 10U) + (next - 0xDC00U) : 0xFFFDU;
      at += isPair ? 2 : 0;
    }
    wide += static_cast<wchar_t>(value);
  }
  return toUtf8(wide);
}

std::string qualified(const xmlNs* space, const xmlChar* name) {
  const bool hasPrefix = space != nullptr && space->prefix != nullptr;
  return (hasPrefix ? nameOf(space->prefix) + ":" : "") + nameOf(name);
}

void copyAttributes(const xmlNode& element, TaskNode& copy) {
  for (const xmlAttr* attribute = element.properties; attribute != nullptr;
       attribute = attribute->next) {
    copy.attributes.emplace_back(qualified(attribute->ns, attribute->name),
                                 textOf(attribute->children));
  }
  for (const xmlNs* space = element.nsDef; space != nullptr; space = space->next) {
    const std::string prefix = nameOf(space->prefix);
    copy.attributes.emplace_back(prefix.empty() ? "xmlns" : "xmlns:" + prefix, nameOf(space->href));
  }
}

std::shared_ptr<TaskNode> copyOf(const xmlNode& element) {
  auto copy = std::make_shared<TaskNode>();
  copy->name = qualified(element.ns, element.name);
  copyAttributes(element, *copy);
  const std::string text = textOf(element.children);
  const bool textCounts = !trimmed(text).empty();
  bool hasElements = false;
  for (const xmlNode* node = element.children; node != nullptr; node = node->next) {
    if (node->type == XML_ELEMENT_NODE) {
      hasElements = true;
      copy->children.push_back(copyOf(*node));
    } else if (textCounts && node->type == XML_TEXT_NODE) {
      // What a comment parts is one piece once the comment is gone.
      if (copy->children.empty() || !copy->children.back()->name.empty()) {
        copy->children.push_back(std::make_shared<TaskNode>());
      }
      copy->children.back()->text += nameOf(node->content);
    }
  }
  // Text alone is the element's own; white space between elements is the layout's.
  if (!hasElements) {
    copy->children.clear();
    copy->text = text;
  }
  return copy;
}

}  // namespace

std::string decodedText(std::string_view bytes) {
  if (bytes.starts_with(kUtf16Mark)) {
    return fromUtf16(bytes.substr(kUtf16Mark.size()));
  }
  return std::string(bytes.starts_with(kUtf8Mark) ? bytes.substr(kUtf8Mark.size()) : bytes);
}

std::shared_ptr<TaskNode> readTaskDocument(std::string_view bytes) {
  const XmlLibrary& library = XmlLibrary::instance();
  const auto document = library.parse(decodedText(bytes));
  const xmlNode* const root = document == nullptr ? nullptr : library.root(document);
  if (root == nullptr || nameOf(root->name) != "Task" || root->ns == nullptr ||
      nameOf(root->ns->href) != kTaskNamespace || root->ns->prefix != nullptr) {
    return nullptr;
  }
  return copyOf(*root);
}

}  // namespace host
