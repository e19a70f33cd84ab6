#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>

#include <memory>
#include <string>
#include <string_view>

namespace host {

// The XML library, loaded when a document is first read: most lives never read one, and their start
// is not to wait for it. A library that cannot be loaded ends the process with a message. Its
// messages about malformed texts are kept silent.
class XmlLibrary {
 public:
  static const XmlLibrary& instance();

  using Document = std::unique_ptr<xmlDoc, void (*)(xmlDoc*)>;

  // The document in this text, whatever encoding its first line names; null if the text is not
  // well-formed. Nothing outside the text is read.
  Document parse(std::string_view utf8) const;
  xmlNode* root(const Document& document) const { return getRoot_(document.get()); }

  // Whether an expression, seen from the document itself, selects any node or is true. False, and
  // `isValid` too, for an expression that is none.
  bool matches(const Document& document, const std::string& expression, bool* isValid) const;

 private:
  XmlLibrary();

  decltype(&::xmlReadMemory) readMemory_;
  decltype(&::xmlFreeDoc) freeDocument_;
  decltype(&::xmlDocGetRootElement) getRoot_;
  decltype(&::xmlXPathNewContext) newContext_;
  decltype(&::xmlXPathFreeContext) freeContext_;
  decltype(&::xmlXPathEvalExpression) evaluate_;
  decltype(&::xmlXPathFreeObject) freeObject_;
};

// The text of a node that holds nothing else, and of an attribute.
std::string textOf(const xmlNode* firstChild);
std::string nameOf(const xmlChar* name);

}  // namespace host
