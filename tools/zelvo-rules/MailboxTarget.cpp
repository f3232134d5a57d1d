#include "MailboxTarget.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "ScriptInput.h"
#include "ToolText.h"
#include "base/HResultException.h"
#include "base/HResultTable.h"
#include "platform/Utf8.h"
#include "sieve/SieveParser.h"
#include "store/reference/Mailbox.h"
#include "strings/Localization.h"

namespace zelvo {
namespace rules {

// The bytes of samples/mailbox, generated into the build.
extern const char* const kSampleScript;
extern const size_t kSampleScriptSize;
extern const char* const kSampleMailboxJson;
extern const size_t kSampleMailboxJsonSize;

namespace details {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? std::string(value) : std::string();
}

// "0x80004005 E_FAIL: Failed to parse sieve script (error=1, line=3)": the code's text,
// and the message when there is one.
std::wstring failureText(const HResultException& e) {
  std::wstring text = platform::fromUtf8Lenient(hresultToString(e.getHResult()));
  const std::wstring& full = e.text();
  const size_t lineEnd = full.find(L'\n');
  const size_t colon = lineEnd == std::wstring::npos ? std::wstring::npos : full.find(L": ", lineEnd);
  if (colon != std::wstring::npos) text += full.substr(colon);
  return text;
}

// Writes bytes to a side file and renames it over the target, so that a failure never
// leaves half a script.
bool replaceFile(const std::string& path, const std::string& bytes) {
  const std::string side = path + ".zelvo-new";
  {
    std::ofstream out(side, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out.flush()) return false;
  }
  std::error_code error;
  std::filesystem::rename(side, path, error);
  if (error) std::filesystem::remove(side, error);
  return !error;
}

}  // namespace details

std::string defaultMailboxFolder() {
  const std::string overridden = details::environment("ZELVO_DEFAULT_MAILBOX");
  if (!overridden.empty()) return overridden;
#ifdef _WIN32
  const std::string local = details::environment("LOCALAPPDATA");
  return (local.empty() ? std::string(".") : local) + "\\Zelvo\\Mail Bridge\\mailbox";
#else
  const std::string data = details::environment("XDG_DATA_HOME");
  if (!data.empty()) return data + "/zelvo/mailbox";
  const std::string home = details::environment("HOME");
  return (home.empty() ? std::string(".") : home) + "/.local/share/zelvo/mailbox";
#endif
}

ReferenceStore::Mailbox sampleMailbox() {
  return ReferenceStore::parseMailbox(std::string(kSampleScript, kSampleScriptSize),
                                      std::string(kSampleMailboxJson, kSampleMailboxJsonSize));
}

void MailboxTarget::adopt(std::unique_ptr<ReferenceStore::Store> store, std::wstring name) {
  kind_ = Kind::Folder;
  path_.clear();
  store_ = std::move(store);
  name_ = std::move(name);
}

int MailboxTarget::open(const CommandLine& line, const std::string& scriptOperand, ToolIo& io) {
  const auto file = line.options.find("--file");
  const auto mailbox = line.options.find("--mailbox");
  std::string script = file != line.options.end() ? file->second : scriptOperand;
  if (!script.empty() && mailbox != line.options.end()) {
    writeLine(io.err, Localization::formatString(IDS_TOOL_BOTH_TARGETS, platform::fromUtf8Lenient(line.command)));
    return ExitUsage;
  }
  try {
    if (!script.empty()) {
      ScriptInput input;
      std::wstring error;
      if (!readScriptInput(script, io.in, input, error)) {
        writeLine(io.err, error);
        return ExitUsage;
      }
      kind_ = script == "-" ? Kind::StandardInput : Kind::ScriptFile;
      path_ = script;
      name_ = input.name;
      ReferenceStore::Mailbox box;
      box.script = input.text;
      store_ = std::make_unique<ReferenceStore::Store>(box);
      return ExitSuccess;
    }
    kind_ = Kind::Folder;
    if (mailbox != line.options.end()) {
      path_ = mailbox->second;
    } else {
      path_ = defaultMailboxFolder();
      if (!std::filesystem::exists(std::filesystem::path(path_) / ReferenceStore::kScriptFileName)) {
        std::error_code error;
        std::filesystem::create_directories(path_, error);
        ReferenceStore::Store(sampleMailbox()).save(path_);
        writeLine(io.err, Localization::formatString(IDS_TOOL_MADE_DEFAULT_MAILBOX,
                                                             platform::fromUtf8Lenient(path_)));
      }
    }
    name_ = platform::fromUtf8Lenient(path_);
    store_ = ReferenceStore::Store::load(path_);
    return ExitSuccess;
  } catch (const HResultException& e) {
    writeLine(io.err, Localization::formatString(IDS_TOOL_MAILBOX_FAILED, platform::fromUtf8Lenient(path_),
                                                         details::failureText(e)));
    return ExitScriptError;
  }
}

int MailboxTarget::load(Sieve::SieveRules& rules, ToolIo& io) {
  const ComRef<IGlobalConfig> config = store_->globalConfig();
  try {
    rules.loadSieveScript(config.get(), false, nullptr);
    loadedScript_ = store_->mailbox().script;
    return ExitSuccess;
  } catch (const HResultException& e) {
    // A script that does not parse is shown as 'check' shows it: the line and the
    // reader's own message, then the code.
    const std::wstring script = store_->mailbox().script;
    Sieve::SieveRule* head = nullptr;
    Sieve::SieveParseStatus status;
    if (!Sieve::parseRules(script, head, true, &status)) {
      writeLine(io.err, Localization::formatString(IDS_TOOL_PARSE_ERROR, name_, status.line,
                                                           std::wstring(status.errorMessage)));
    } else {
      Sieve::deleteRules(head);
    }
    writeLine(io.err, Localization::formatString(IDS_TOOL_LOAD_FAILED, name_, details::failureText(e)));
    return ExitScriptError;
  }
}

int MailboxTarget::save(Sieve::SieveRules& rules, ToolIo& io) {
  const ComRef<IGlobalConfig> config = store_->globalConfig();
  try {
    rules.saveSieveScript(config.get());
  } catch (const HResultException& e) {
    writeLine(io.err, Localization::formatString(IDS_TOOL_SAVE_FAILED, name_, details::failureText(e)));
    return ExitScriptError;
  }
  const std::wstring script = store_->mailbox().script;
  if (script == loadedScript_) {
    writeLine(io.err, Localization::formatString(IDS_TOOL_UNCHANGED, name_));
    return ExitSuccess;
  }
  try {
    switch (kind_) {
      case Kind::StandardInput: {
        writeLine(io.err, Localization::formatString(IDS_TOOL_STDIN_NOT_SAVED, name_));
        const std::string bytes = platform::toUtf8(script);
        io.out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return ExitSuccess;
      }
      case Kind::ScriptFile:
        if (!details::replaceFile(path_, platform::toUtf8(script))) ZEL_HERE.raise(STG_E_WRITEFAULT, "cannot write the file");
        break;
      case Kind::Folder:
        if (!path_.empty()) store_->save(path_);
        break;
    }
  } catch (const HResultException& e) {
    writeLine(io.err, Localization::formatString(IDS_TOOL_SAVE_FAILED, name_, details::failureText(e)));
    return ExitScriptError;
  }
  loadedScript_ = script;
  writeLine(io.err, Localization::formatString(IDS_TOOL_SAVED, name_));
  return ExitSuccess;
}

}  // namespace rules
}  // namespace zelvo
