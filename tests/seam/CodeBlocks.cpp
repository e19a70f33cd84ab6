#include "tests/seam/CodeBlocks.h"

#include <algorithm>
#include <cctype>
#include <regex>

namespace seam {

namespace {

// Blanks literals and lines of the preprocessor, so that each brace that is left is one of code.
std::string bareCode(const SourceFile& file) {
  static const std::regex literal(R"re("(?:[^"\\]|\\.)*"|'(?:[^'\\]|\\.)')re");
  static const std::regex rawLiteral(R"re(R"(\w*)\([\s\S]*?\)\1")re");
  std::string code;
  bool continued = false;
  for (const std::string& line : file.code) {
    const bool isPreprocessor = continued || line.find_first_not_of(' ') == line.find('#');
    continued = isPreprocessor && !line.empty() && line.back() == '\\';
    code += (isPreprocessor && !line.empty() ? std::string() : line) + "\n";
  }
  std::string bare;
  auto end = code.cbegin();
  for (std::sregex_iterator match(code.begin(), code.end(), rawLiteral), last; match != last;
       ++match) {
    bare.append(end, (*match)[0].first);
    bare += "\"\"";
    bare.append(static_cast<std::size_t>(std::count((*match)[0].first, (*match)[0].second, '\n')),
                '\n');
    end = (*match)[0].second;
  }
  bare.append(end, code.cend());
  return std::regex_replace(bare, literal, "\"\"");
}

class Reader {
 public:
  explicit Reader(std::string code) : code_(std::move(code)) {}

  std::vector<Declaration> read() {
    for (at_ = 0; at_ < code_.size(); ++at_) {
      step(code_[at_]);
    }
    return std::move(found_);
  }

 private:
  struct Scope {
    bool isClass = false;
    bool isPublic = true;
  };

  void step(char character) {
    if (character == '\n') {
      ++line_;
    }
    if (parentheses_ == 0 && (character == ';' || character == '{' || character == '}')) {
      end(character);
      return;
    }
    if (character == ':' && isAccess()) {
      scopes_.back().isPublic = text_.ends_with("public");
      forget();
      return;
    }
    parentheses_ += character == '(' ? 1 : character == ')' ? -1 : 0;
    add(character);
  }

  void add(char character) {
    const bool isSpace = std::isspace(static_cast<unsigned char>(character)) != 0;
    if (isSpace && (text_.empty() || text_.back() == ' ')) {
      return;
    }
    if (text_.empty()) {
      firstLine_ = line_;
    }
    text_ += isSpace ? ' ' : character;
  }

  void forget() {
    text_.clear();
    parentheses_ = 0;
  }

  bool isAccess() const {
    return !scopes_.empty() && scopes_.back().isClass &&
           (text_ == "public" || text_ == "protected" || text_ == "private");
  }

  // Otherwise a brace begins an initial value, or what an enumeration lists.
  bool beginsBody() const {
    static const std::regex body(R"re((\)|\}|\bconst|\bnoexcept|\boverride|\bfinal) ?$)re");
    static const std::regex value(R"re(^[^(]* = )re");
    return isFunction() && std::regex_search(text_, body) && !std::regex_search(text_, value);
  }
  bool beginsScope() const {
    static const std::regex scope(R"re(^(inline )?namespace\b|^extern ""|)re"
                                  R"re(^(template ?<.*> ?)?(class|struct|union)\b[^()=]*$)re");
    return std::regex_search(text_, scope);
  }
  bool isFunction() const {
    static const std::regex function(R"re(^[^=]*(\boperator[^\w\s]+|[\w>\]]) ?\()re");
    static const std::regex statement(R"re(^(using|typedef|static_assert|friend)\b)re");
    return std::regex_search(text_, function) && !std::regex_search(text_, statement);
  }

  void end(char character) {
    if (character == '}') {
      if (!scopes_.empty()) {
        scopes_.pop_back();
      }
      forget();
      return;
    }
    if (character == ';') {
      keep(false);
      return;
    }
    if (beginsScope()) {
      const bool isClass =
          text_.find("namespace") == std::string::npos && text_.find("extern") == std::string::npos;
      if (isClass) {
        keep(true);
      }
      const bool startsPublic = !std::regex_search(text_, std::regex(R"re(\bclass\b)re"));
      forget();
      scopes_.push_back({isClass, startsPublic});
      return;
    }
    const bool isBody = beginsBody();
    skipBlock();
    if (isBody) {
      keep(true);
    } else {
      text_ += "{}";
    }
  }

  // From a brace to the one that closes it.
  void skipBlock() {
    std::size_t depth = 0;
    for (; at_ < code_.size(); ++at_) {
      const char character = code_[at_];
      line_ += character == '\n' ? 1 : 0;
      depth += character == '{' ? 1 : 0;
      if (character == '}' && --depth == 0) {
        return;
      }
    }
  }

  void keep(bool hasBody) {
    Declaration declaration;
    declaration.text = text_;
    declaration.firstLine = firstLine_;
    declaration.lastLine = line_;
    declaration.hasBody = hasBody;
    declaration.isPublic = std::all_of(scopes_.begin(), scopes_.end(),
                                       [](const Scope& scope) { return scope.isPublic; });
    declaration.kind = beginsScope() && hasBody ? Declaration::Kind::kClass
                       : isFunction()           ? Declaration::Kind::kFunction
                                                : Declaration::Kind::kOther;
    if (!declaration.text.empty()) {
      found_.push_back(declaration);
    }
    forget();
  }

  std::string code_;
  std::size_t at_ = 0;
  std::size_t line_ = 1;
  std::string text_;
  std::size_t firstLine_ = 1;
  int parentheses_ = 0;
  std::vector<Scope> scopes_;
  std::vector<Declaration> found_;
};

}  // namespace

std::vector<Declaration> declarationsOf(const SourceFile& file) {
  return Reader(bareCode(file)).read();
}

}  // namespace seam
