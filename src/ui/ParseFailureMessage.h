// The message that puts a script which does not parse in front of the user, shared by the
// script dialog and the loading of a mailbox's rules.
#pragma once

#include <functional>
#include <string>

#include "sieve/SieveParser.h"
#include "ui/DialogView.h"

namespace zelvo::ui {

// The text: the statement that the script cannot be read, and when the reader gave a
// message, its line and message; with askFix, the question whether to correct it by hand.
std::wstring parseFailureText(const Sieve::SieveParseStatus& status, bool askFix);

// A message box as the caller has one: text, caption and style in, the button chosen out.
using ShowMessage = std::function<int(const std::wstring& text, const std::wstring& caption, UINT style)>;

// Shows the message. With askFix and a message of the reader, a Yes/No question with the
// exclamation icon whose answer is the result; otherwise an error box and false.
bool showParseFailure(const ShowMessage& show, const Sieve::SieveParseStatus& status, bool askFix);
// The same, owned by a dialog.
bool showParseFailure(DialogView& view, const Sieve::SieveParseStatus& status, bool askFix);

}  // namespace zelvo::ui
