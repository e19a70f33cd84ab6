#include "platform/host/XmlLibrary.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>

namespace host {
namespace {

constexpr char kLibrary[] = XML_LIBRARY;
constexpr int kHarnessError = 71;

[[noreturn]] void giveUp() {
  std::fprintf(stderr, "model: the XML library: %s\n", dlerror());
  _exit(kHarnessError);
}

template <class Function>
void bind(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  if (function == nullptr) {
    giveUp();
  }
}

// Whether the evaluated expression selects anything or is true.
bool isHit(const xmlXPathObject& result) {
  if (result.type == XPATH_NODESET) {
    return result.nodesetval != nullptr && result.nodesetval->nodeNr > 0;
  }
  return result.type == XPATH_BOOLEAN && result.boolval != 0;
}

}  // namespace

const XmlLibrary& XmlLibrary::instance() {
  static const auto* const library = new XmlLibrary;
  return *library;
}

XmlLibrary::XmlLibrary() {
  void* const library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    giveUp();
  }
  bind(library, "xmlReadMemory", readMemory_);
  bind(library, "xmlFreeDoc", freeDocument_);
  bind(library, "xmlDocGetRootElement", getRoot_);
  bind(library, "xmlXPathNewContext", newContext_);
  bind(library, "xmlXPathFreeContext", freeContext_);
  bind(library, "xmlXPathEvalExpression", evaluate_);
  bind(library, "xmlXPathFreeObject", freeObject_);
}

XmlLibrary::Document XmlLibrary::parse(std::string_view utf8) const {
  constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING |
                           XML_PARSE_NOCDATA | XML_PARSE_NOENT;
  return {readMemory_(utf8.data(), static_cast<int>(utf8.size()), nullptr, "UTF-8", kOptions),
          freeDocument_};
}

bool XmlLibrary::matches(const Document& document, const std::string& expression,
                         bool* isValid) const {
  const std::unique_ptr<xmlXPathContext, decltype(freeContext_)> context(
      newContext_(document.get()), freeContext_);
  context->error = [](auto...) {};
  context->node = reinterpret_cast<xmlNode*>(document.get());
  const auto* const text = reinterpret_cast<const xmlChar*>(expression.c_str());
  const std::unique_ptr<xmlXPathObject, decltype(freeObject_)> result(
      evaluate_(text, context.get()), freeObject_);
  *isValid = result != nullptr;
  return result != nullptr && isHit(*result);
}

std::string textOf(const xmlNode* firstChild) {
  std::string text;
  for (const xmlNode* node = firstChild; node != nullptr; node = node->next) {
    if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) {
      text += nameOf(node->content);
    }
  }
  return text;
}

std::string nameOf(const xmlChar* name) {
  return name == nullptr ? "" : reinterpret_cast<const char*>(name);
}

}  // namespace host
