// The tree a Sieve script is parsed into: rules and tests chained through
// plain next pointers, and string lists as chains of wide strings.
//
// Ownership is by head: whoever holds the first node of a chain owns the whole chain, and
// copies are explicit (cloneRule, cloneTest, cloneStringList). A null pointer is a legal
// value everywhere: the empty list, the test `void`, the empty chain. The node types do not
// free anything in their destructors; deleteRules / deleteTests / deleteStringList do, and
// RulePtr / TestPtr / StringListPtr hold a chain for a scope.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Sieve {

enum class TestKind : std::int32_t {
  None = 0,  // a node that was just built
  AllOf = 1,
  AnyOf = 2,
  Exists = 3,
  False = 4,
  True = 5,
  Address = 6,
  Header = 7,
  Size = 8,
  SpamTest = 9,
};

enum class RuleKind : std::int32_t {
  Empty = 0,  // placeholder of an empty block; cannot be written
  Keep = 1,
  Reject = 2,
  Discard = 3,
  FileInto = 4,
  Stop = 5,
  Redirect = 6,
  Notify = 7,
  Vacation = 8,
  If = 9,
  SetReadFlag = 10,
};

enum class AddressPart : std::int32_t { All = 0, LocalPart = 1, Domain = 2 };

enum class MatchType : std::int32_t { Is = 0, Contains = 1, Matches = 2 };

enum class SizeMode : std::int32_t { Over = 0, Under = 1 };

// Ids of the options of a vacation command inside SieveRule::parameters. Subject is kept
// in the rule's name field, never in parameters.
enum class VacationParameter : std::uint32_t {
  Days = 0,
  Subject = 1,
  RangeEnabled = 2,
  RangeStart = 3,
  RangeEnd = 4,
  ExternalMessageEnabled = 5,
  ExternalMessageSubject = 6,
  ExternalMessageBody = 7,
  ExternalMessageKnownContactsOnly = 8,
};

// The default message of a notify command, set by the reader.
extern const wchar_t* const kDefaultNotifyMessage;  // "$from$: $subject$\r\n$text$"

// One string of a string list. The list is a pointer to its first node; null is the empty
// list.
struct SieveStringList {
  std::wstring text;
  SieveStringList* next = nullptr;

  SieveStringList() = default;
  explicit SieveStringList(std::wstring value) : text(std::move(value)) {}
  SieveStringList(const SieveStringList&) = delete;
  SieveStringList& operator=(const SieveStringList&) = delete;
};

// One test. A null SieveTest pointer is the test `void`.
struct SieveTest {
  TestKind kind = TestKind::None;
  bool negated = false;
  SieveStringList* keys = nullptr;    // names of exists; header names of address, header
  SieveStringList* values = nullptr;  // compared strings of address, header
  std::uint32_t octetComparator = 0;  // 1 when `:comparator "i;octet"`
  AddressPart addressPart = AddressPart::All;
  MatchType matchType = MatchType::Is;
  bool isContact = false;
  SizeMode sizeMode = SizeMode::Under;  // the one field that is not zero in a new test
  std::uint32_t sizeLimit = 0;
  SieveTest* subTests = nullptr;  // first child of allof / anyof
  SieveTest* next = nullptr;      // next sibling in the parent's list of children

  SieveTest() = default;
  explicit SieveTest(TestKind testKind) : kind(testKind) {}
  SieveTest(const SieveTest&) = delete;
  SieveTest& operator=(const SieveTest&) = delete;
};

// One command. Only top-level rules carry a name and a meaningful enabled flag.
struct SieveRule {
  using ParameterKey = std::pair<std::uint32_t, std::uint32_t>;  // (rule kind, id)

  RuleKind kind = RuleKind::Empty;
  bool enabled = false;
  bool reserved = false;  // set by the rules dialog only
  // Rule name; holds `:options` of a Notify and `:subject` of a Vacation.
  std::wstring name;
  std::map<ParameterKey, std::wstring> parameters;
  std::wstring argument;
  SieveTest* test = nullptr;        // condition of an If; null is `void`
  SieveRule* thenBlock = nullptr;   // first command of an If's block
  SieveRule* elseBlock = nullptr;   // `else` block, or the If an `elsif` became
  SieveRule* parent = nullptr;      // enclosing If (not owning); see mergeRedirects
  SieveRule* next = nullptr;        // following command of the same list
  bool editable = true;

  SieveRule() = default;
  SieveRule(RuleKind ruleKind, SieveRule* parentRule);
  SieveRule(std::wstring ruleName, bool isEnabled, SieveRule* parentRule);
  // Copy of one node: kind, enabled, reserved, editable, name, parameters and argument.
  // Test, blocks, parent and next are null in the copy.
  SieveRule(const SieveRule& other);
  SieveRule& operator=(const SieveRule&) = delete;

  void setArgument(const std::wstring& text) { argument = text; }
  // Stored under (the rule's present kind, id): changing the kind hides the parameters.
  void setParameter(std::uint32_t id, const std::wstring& value);
  void setParameter(VacationParameter id, const std::wstring& value) {
    setParameter(static_cast<std::uint32_t>(id), value);
  }
  // A missing key is inserted with an empty value, so reading never fails.
  std::wstring& parameter(std::uint32_t id);
  std::wstring& parameter(VacationParameter id) { return parameter(static_cast<std::uint32_t>(id)); }

  // Cuts every Redirect's argument at comma, semicolon and blank into one Redirect per
  // address, in place. A failed copy raises E_FAIL "Failed to clone sieve rule".
  static void splitRules(SieveRule* head);
  // Parses a whole script. A null head raises E_INVALIDARG; a failed parse raises
  // E_FAIL "Failed to parse sieve script (error=%d, line=%d)". *head owns the result.
  static void parseScript(const std::wstring& text, SieveRule** head);
  // Writes one rule (single) or the chain beginning at rule; else branches come
  // out. A rule that cannot be written raises E_FAIL "Failed to write sieve script." and
  // leaves text untouched. Sets the parent pointers of the written blocks.
  static void writeScript(SieveRule* rule, std::wstring& text, bool single);
};

// --- freeing -------------------------------------------------------------------------------

// Frees the rule, every rule after it, and what they own; test and blocks are followed on
// rules of kind If only. Null is accepted.
void deleteRules(SieveRule* head) noexcept;
// Frees the test, its siblings after it, and what they own. Null is accepted.
void deleteTests(SieveTest* head) noexcept;
// Frees the whole list. Null is accepted.
void deleteStringList(SieveStringList* head) noexcept;

struct RuleChainDeleter {
  void operator()(SieveRule* head) const noexcept { deleteRules(head); }
};
struct TestChainDeleter {
  void operator()(SieveTest* head) const noexcept { deleteTests(head); }
};
struct StringListDeleter {
  void operator()(SieveStringList* head) const noexcept { deleteStringList(head); }
};
// Scoped owners of a whole chain (the head and everything after it).
using RulePtr = std::unique_ptr<SieveRule, RuleChainDeleter>;
using TestPtr = std::unique_ptr<SieveTest, TestChainDeleter>;
using StringListPtr = std::unique_ptr<SieveStringList, StringListDeleter>;

// --- copying -------------------------------------------------------------------------------

enum CloneMode : int {
  CloneNode = 0,           // the node alone
  CloneWithBlock = 1,      // the node, its test and its thenBlock chain
  CloneWithSiblings = 2,   // as 1, and every following sibling in mode 1
};

// Null gives null, and so does running out of memory. The elseBlock is never copied: the
// copy of an If has an empty else branch, by design. A non-null parent is set on
// the head copy through setParent; in mode 2 the sibling copies get the same parent, and
// the commands of each copied block point at their copied If.
SieveRule* cloneRule(const SieveRule* rule, int mode, SieveRule* parent = nullptr) noexcept;
// Copies the scalar fields, and with deep also keys, values and subTests with their
// siblings. The head copy's next stays null. Null or out of memory gives null.
SieveTest* cloneTest(const SieveTest* test, bool deep) noexcept;
// Copies the first node, or with all the whole list. Null or out of memory gives null.
SieveStringList* cloneStringList(const SieveStringList* list, bool all) noexcept;

// --- tree operations -----------------------------------------------------------------------

// Sets rule->parent = parent and reports whether the parent chain above is free of cycles
// (a chain that meets a node twice, the rule itself included, gives false).
bool setParent(SieveRule* rule, SieveRule* parent);
// The enabled flag of the top of the rule's parent chain; null gives false.
bool isEnabledAtTop(const SieveRule* rule);

// List operations on a chain whose head is passed by reference.
void appendRule(SieveRule*& head, SieveRule* rule);
// Takes the rule out of the chain and clears its next pointer. The rule must be in it.
void unlinkRule(SieveRule*& head, SieveRule* rule);
// Puts newRule in oldRule's place and clears oldRule's next; false when oldRule is absent.
bool replaceRule(SieveRule*& head, SieveRule* oldRule, SieveRule* newRule);
bool containsRule(const SieveRule* head, const SieveRule* rule);
// The predecessor of rule in the chain; null for the head (and for a rule not in it).
SieveRule* previousRule(SieveRule* head, const SieveRule* rule);
// The first rule of the chain whose name equals name exactly, with case.
SieveRule* findRule(SieveRule* head, const std::wstring& name);
// Swaps the rule with its successor (delta > 0) or its predecessor (delta < 0).
void moveRule(SieveRule*& head, SieveRule* rule, int delta);

// Joins every further Redirect of a chain into the first one ("a; b"), recursively into
// all blocks. Run by the reader after a successful parse.
void mergeRedirects(SieveRule* head);

// --- string list helpers -------------------------------------------------------------------

// A new list holding the strings in order; an empty vector gives null.
SieveStringList* makeStringList(const std::vector<std::wstring>& strings);
std::vector<std::wstring> stringListToVector(const SieveStringList* list);
// Appends one node at the end of the list.
void appendString(SieveStringList*& list, const std::wstring& text);

}  // namespace Sieve
