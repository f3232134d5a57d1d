// Where a command finds the rules it works on, and where it saves them: a script file,
// standard input, a mailbox folder, or the user's default mailbox (made from the sample
// mailbox built into the tool the first time it is needed). Each is served by the
// reference store service, so that the rules load and save through the store contract as
// the add-in's do.
#pragma once

#include <memory>
#include <string>

#include "Commands.h"
#include "sieve/SieveRules.h"
#include "store/reference/ReferenceStore.h"

namespace zelvo {
namespace rules {

// The folder of the default mailbox: ZELVO_DEFAULT_MAILBOX when set; else
// %LOCALAPPDATA%\Zelvo\Mail Bridge\mailbox on Windows and
// $XDG_DATA_HOME/zelvo/mailbox (or ~/.local/share/zelvo/mailbox) elsewhere.
std::string defaultMailboxFolder();
// The sample mailbox built into the tool.
ReferenceStore::Mailbox sampleMailbox();

class MailboxTarget {
 public:
  enum class Kind { ScriptFile, StandardInput, Folder };

  // Opens the target that the command line names: the --file option or scriptOperand
  // (empty for none), --mailbox, or the default mailbox. Returns the exit code; on failure
  // the message is written.
  int open(const CommandLine& line, const std::string& scriptOperand, ToolIo& io);

  // Loads the rules through the rule set, as the add-in does without a user present.
  // Returns the exit code; on failure the message names the place and the reason.
  int load(Sieve::SieveRules& rules, ToolIo& io);
  // Saves through the rule set, which writes only what was changed, then writes the
  // files back when the store's script changed. Reports "saved" or "unchanged".
  int save(Sieve::SieveRules& rules, ToolIo& io);

  const std::wstring& name() const { return name_; }
  ReferenceStore::Store& store() { return *store_; }
  // For tests: a target over a store that the caller made.
  void adopt(std::unique_ptr<ReferenceStore::Store> store, std::wstring name);

 private:
  Kind kind_ = Kind::Folder;
  std::string path_;  // the file or folder
  std::wstring name_;
  std::unique_ptr<ReferenceStore::Store> store_;
  std::wstring loadedScript_;
};

}  // namespace rules
}  // namespace zelvo
