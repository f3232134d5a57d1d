// The Sieve text of one rule or of a whole script, edited by hand: for a rule the editor
// cannot show, and for a script that did not parse.
#pragma once

#include <string>

#include "sieve/SieveModel.h"
#include "ui/DialogLogic.h"

namespace zelvo::ui {

// The text as the multi-line edit field takes it: each line feed becomes a carriage return
// and a line feed, and carriage returns of their own are dropped. A line feed that directly
// follows another is kept as a lone line feed.
std::wstring editLineBreaks(const std::wstring& text);

class SieveScriptDialog : public DialogLogic {
 public:
  static constexpr int kTemplateId = 5024;
  static constexpr ControlId kEdit = 10025;

  // What OK leaves for a caller whose dialog runs through a DialogHost, and so is gone
  // when the caller looks: the accepted text, and a copy of the parsed rules (null when
  // the text held none, or was not parsed).
  struct Result {
    std::wstring text;
    Sieve::RulePtr rules;
  };

  // parseOnOk: OK parses the text and stays open while it does not parse. singleRule: the
  // text must hold one rule at most. result, when given, is filled when OK is accepted.
  SieveScriptDialog(DialogView& view, std::wstring text, bool parseOnOk, bool singleRule, Result* result = nullptr);

  // The text as the dialog opened with it, or as it was when OK was accepted.
  const std::wstring& text() const { return text_; }
  // The rules parsed on OK, null when the text held none: a copy of the whole chain owned by
  // the caller (copy true), or the chain itself, which stays the dialog's.
  Sieve::SieveRule* getRules(bool copy) const;

 protected:
  void onInitDialog() override;
  void onOk() override;

 private:
  // Whether the parsed chain may be taken; otherwise the user was told why not.
  bool acceptParsed();
  void accept(std::wstring text);

  std::wstring text_;
  bool parseOnOk_;
  bool singleRule_;
  Result* result_;
  Sieve::RulePtr rules_;
};

}  // namespace zelvo::ui
