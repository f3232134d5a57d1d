#include "ui/ParseFailureMessage.h"

#include "strings/Localization.h"

namespace zelvo::ui {

namespace {
bool hasReaderMessage(const Sieve::SieveParseStatus& status) { return status.errorMessage[0] != L'\0'; }
}  // namespace

std::wstring parseFailureText(const Sieve::SieveParseStatus& status, bool askFix) {
  std::wstring text = Localization::getString(IDS_SCRIPT_UNREADABLE);
  // Without the reader's message there is nothing to point at, so nothing is asked either.
  if (!hasReaderMessage(status)) return text;
  text += L"\n\n";
  text += Localization::formatString(IDS_SCRIPT_ERROR_LINE, status.line, std::wstring(status.errorMessage));
  if (askFix) {
    text += L"\n\n";
    text += Localization::getString(IDS_SCRIPT_ASK_FIX);
  }
  return text;
}

bool showParseFailure(const ShowMessage& show, const Sieve::SieveParseStatus& status, bool askFix) {
  const std::wstring caption = Localization::getString(IDS_MESSAGE_TITLE);
  const std::wstring text = parseFailureText(status, askFix);
  if (askFix && hasReaderMessage(status)) {
    return show(text, caption, mb::yesNo | mb::iconExclamation) == kIdYes;
  }
  show(text, caption, mb::ok | mb::iconError);
  return false;
}

bool showParseFailure(DialogView& view, const Sieve::SieveParseStatus& status, bool askFix) {
  return showParseFailure([&view](const std::wstring& text, const std::wstring& caption,
                                  UINT style) { return view.messageBox(text, caption, style); },
                          status, askFix);
}

}  // namespace zelvo::ui
