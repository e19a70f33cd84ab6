#pragma once

#include <iosfwd>
#include <list>
#include <string>
#include <string_view>

#include "VUSL/Support/CmdLineGroup.h"
#include "VUSL/Support/CmdLineParameter.h"
#include "VUSL/Support/Text.h"

namespace vusl {

// A declarative parser of command lines: register parameters, parse once, look at the records.
// Names are compared without regard to the case of the letters A to Z; values stay as they are.
// It is used on the main thread before there is any other. It catches nothing; after a failure the
// records stay as far as they got.
class CmdLineProc {
 public:
  // `prefix`: each of its characters marks an argument as a parameter.
  // `out,in`: the program's output and input, kept and not used by parsing: each record brings the
  //     streams on which its value is asked for, the standard ones unless its owner sets others.
  CmdLineProc(const string_t& prefix, std::ostream& out, std::istream& in);
  virtual ~CmdLineProc() = default;

  CmdLineProc(const CmdLineProc&) = delete;
  CmdLineProc& operator=(const CmdLineProc&) = delete;

  // Adds an empty group. Returns the group, which this object owns.
  CmdLineGroup& addGroup(string_t name);

  // Adds a switch of that name to a group of this object.
  // Returns the record that parsing marks, owned by this object; its other fields may be set
  //     before parsing.
  CmdLineParameter& addParameter(CmdLineGroup& group, string_t name);

  // Marks the records that the arguments name and takes their values.
  // `argc,argv`: the arguments; the first, the program's name, is skipped.
  // Throws `InvalidInputError` with the id of what is wrong, and `CmdLineExc` with the usage
  // synopsis when the usage is asked for. Values are asked for only when the whole line is valid;
  // then also `ResourceMissingException` for a prompt without a text.
  void parseCommandLine(int argc, const wchar_t* const* argv);

  // Returns whether more than one member of the group was given. A member is looked up by its name,
  // with regard to case, and the first record found stands for it: a parameter given twice is no
  // conflict.
  bool isGroupConflicting(const CmdLineGroup& group) const;

 private:
  struct RecordState;
  struct ParseState;

  bool isPrefix(wchar_t character) const;
  // Empty for an empty prefix.
  std::string firstPrefix() const;
  string_t usageSynopsis() const;
  void parseArgument(ParseState& state);
  static void note(ParseState& state, std::wstring_view name, const CmdLineParameter& parameter,
                   RecordState& known);
  void checkCompanions(const ParseState& state, std::wstring_view name,
                       const CmdLineParameter& parameter, RecordState& known) const;
  void takeValue(ParseState& state, CmdLineParameter& parameter) const;
  void requireRequired() const;
  void refuseConflicts() const;
  void runDeferredPrompts(const ParseState& state);

  string_t prefix;
  std::list<CmdLineParameter> parameters;
  std::list<CmdLineGroup> groups;
  std::ostream* out;
  std::istream* in;
};

}  // namespace vusl
