// Loading and saving a mailbox folder. Boost.JSON is used header-only: this is the one
// unit that compiles its sources.
#include <boost/json/src.hpp>

#include <algorithm>
#include <cstdio>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "base/HResultException.h"
#include "platform/Utf8.h"
#include "platform/Mapi.h"
#include "store/reference/Mailbox.h"

namespace json = boost::json;

namespace ReferenceStore {

const char* const kScriptFileName = "script.sieve";
const char* const kMailboxFileName = "mailbox.json";

MailboxFolder* Mailbox::findFolder(const std::wstring& path) {
  for (auto& folder : folders)
    if (folder.path == path) return &folder;
  return nullptr;
}

MailboxFolder* Mailbox::findFolderByEntryId(const std::string& entryId) {
  if (entryId.empty()) return nullptr;
  for (auto& folder : folders)
    if (folder.entryId == entryId) return &folder;
  return nullptr;
}

namespace {

[[noreturn]] void corrupt(const std::string& text) {
  ZEL_HERE.raise(MAPI_E_CORRUPT_DATA, platform::fromUtf8Lenient(text).c_str());
}

// Where a value sits in mailbox.json, for messages: "folders[2].access[0].rights".
class Place {
 public:
  Place() = default;
  Place field(const std::string& name) const { return Place(text_.empty() ? name : text_ + "." + name); }
  Place index(size_t i) const { return Place(text_ + "[" + std::to_string(i) + "]"); }
  [[noreturn]] void fail(const std::string& problem) const {
    corrupt(std::string(kMailboxFileName) + ": " + (text_.empty() ? "" : text_ + ": ") + problem);
  }

 private:
  explicit Place(std::string text) : text_(std::move(text)) {}
  std::string text_;
};

// An object whose fields are taken one by one; what is left over is an unknown field.
class Fields {
 public:
  Fields(const json::value& value, const Place& place) : place_(place) {
    if (!value.is_object()) place.fail("expected an object");
    object_ = &value.as_object();
  }
  const json::value* optional(const char* name) {
    taken_.insert(name);
    return object_->if_contains(name);
  }
  const json::value& required(const char* name) {
    const json::value* value = optional(name);
    if (!value) place_.fail(std::string("missing field \"") + name + "\"");
    return *value;
  }
  Place at(const char* name) const { return place_.field(name); }
  // Typos in a hand-edited file would otherwise be dropped silently on the next save.
  void finish() const {
    for (const auto& member : *object_)
      if (!taken_.count(std::string(member.key())))
        place_.fail("unknown field \"" + std::string(member.key()) + "\"");
  }

 private:
  const json::object* object_ = nullptr;
  Place place_;
  std::set<std::string> taken_;
};

std::wstring readString(const json::value& value, const Place& place) {
  if (!value.is_string()) place.fail("expected a string");
  const auto& s = value.as_string();
  return platform::fromUtf8Lenient(std::string_view(s.data(), s.size()));
}

uint32_t readUInt32(const json::value& value, const Place& place) {
  if (value.is_uint64() && value.as_uint64() <= 0xFFFFFFFFu) return static_cast<uint32_t>(value.as_uint64());
  if (value.is_int64() && value.as_int64() >= 0 && value.as_int64() <= 0xFFFFFFFF)
    return static_cast<uint32_t>(value.as_int64());
  place.fail("expected an unsigned 32-bit number");
}

bool readBool(const json::value& value, const Place& place) {
  if (!value.is_bool()) place.fail("expected true or false");
  return value.as_bool();
}

const json::array& readArray(const json::value& value, const Place& place) {
  if (!value.is_array()) place.fail("expected an array");
  return value.as_array();
}

int hexDigit(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if (c >= L'A' && c <= L'F') return c - L'A' + 10;
  return -1;
}

std::string readHexBytes(const json::value& value, const Place& place) {
  const std::wstring text = readString(value, place);
  std::string bytes;
  if (text.size() % 2) place.fail("expected upper-case hexadecimal digits in pairs");
  for (size_t i = 0; i < text.size(); i += 2) {
    const int high = hexDigit(text[i]), low = hexDigit(text[i + 1]);
    if (high < 0 || low < 0) place.fail("expected upper-case hexadecimal digits in pairs");
    bytes.push_back(static_cast<char>(high << 4 | low));
  }
  return bytes;
}

std::string hexText(const std::string& bytes) {
  static const char digits[] = "0123456789ABCDEF";
  std::string text;
  for (unsigned char b : bytes) {
    text.push_back(digits[b >> 4]);
    text.push_back(digits[b & 15]);
  }
  return text;
}

Guid readGuid(const json::value& value, const Place& place) {
  const std::wstring text = readString(value, place);
  static const char* const problem = "expected a GUID such as {00000000-0000-0000-0000-000000000000}";
  if (text.size() != 38 || text[0] != L'{' || text[37] != L'}') place.fail(problem);
  BYTE raw[16];
  // Text order: Data1 (4 bytes), Data2, Data3 (2 each), then 8 bytes as they stand.
  static const int order[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  size_t pos = 1;
  for (int i = 0; i < 16; ++i) {
    if (pos == 9 || pos == 14 || pos == 19 || pos == 24) {
      if (text[pos] != L'-') place.fail(problem);
      ++pos;
    }
    const int high = hexDigit(static_cast<wchar_t>(std::towupper(text[pos])));
    const int low = hexDigit(static_cast<wchar_t>(std::towupper(text[pos + 1])));
    if (high < 0 || low < 0) place.fail(problem);
    raw[order[i]] = static_cast<BYTE>(high << 4 | low);
    pos += 2;
  }
  Guid guid;
  guid.setData(raw, sizeof raw);
  return guid;
}

std::map<uint32_t, std::wstring> readNumberedTexts(const json::value& value, const Place& place) {
  if (!value.is_object()) place.fail("expected an object");
  std::map<uint32_t, std::wstring> texts;
  for (const auto& member : value.as_object()) {
    const std::string key(member.key());
    char* end = nullptr;
    const unsigned long number = std::strtoul(key.c_str(), &end, 10);
    if (key.empty() || *end || key.size() > 10 || number > 0xFFFFFFFFul)
      place.fail("\"" + key + "\" is not an unsigned number");
    texts[static_cast<uint32_t>(number)] = readString(member.value(), place.field(key));
  }
  return texts;
}

std::vector<std::wstring> readStrings(const json::value& value, const Place& place) {
  std::vector<std::wstring> strings;
  const auto& array = readArray(value, place);
  for (size_t i = 0; i < array.size(); ++i) strings.push_back(readString(array[i], place.index(i)));
  return strings;
}

void readOptionalString(Fields& fields, const char* name, std::wstring& out) {
  if (const auto* v = fields.optional(name)) out = readString(*v, fields.at(name));
}

Delegate readDelegate(const json::value& value, const Place& place) {
  Fields f(value, place);
  Delegate d;
  d.id = readUInt32(f.required("id"), f.at("id"));
  readOptionalString(f, "address", d.address);
  readOptionalString(f, "displayName", d.displayName);
  if (const auto* v = f.optional("grant")) d.grant = readBool(*v, f.at("grant"));
  f.finish();
  return d;
}

std::vector<Delegate> readDelegates(const json::value& value, const Place& place) {
  std::vector<Delegate> list;
  const auto& array = readArray(value, place);
  for (size_t i = 0; i < array.size(); ++i) list.push_back(readDelegate(array[i], place.index(i)));
  return list;
}

MailboxFolder readFolder(const json::value& value, const Place& place) {
  Fields f(value, place);
  MailboxFolder folder;
  folder.path = readString(f.required("path"), f.at("path"));
  if (folder.path.empty()) f.at("path").fail("a folder path may not be empty");
  folder.displayPath = folder.path;
  readOptionalString(f, "displayPath", folder.displayPath);
  if (const auto* v = f.optional("flags")) folder.flags = readUInt32(*v, f.at("flags"));
  if (const auto* v = f.optional("entryId")) folder.entryId = readHexBytes(*v, f.at("entryId"));
  if (const auto* v = f.optional("synchronization")) folder.synchronization = readUInt32(*v, f.at("synchronization"));
  if (const auto* v = f.optional("features")) {
    const auto& array = readArray(*v, f.at("features"));
    for (size_t i = 0; i < array.size(); ++i) folder.features.push_back(readUInt32(array[i], f.at("features").index(i)));
  }
  if (const auto* v = f.optional("folderFlags")) folder.folderFlags = readUInt32(*v, f.at("folderFlags"));
  if (const auto* v = f.optional("access")) {
    const auto& array = readArray(*v, f.at("access"));
    for (size_t i = 0; i < array.size(); ++i) {
      Fields a(array[i], f.at("access").index(i));
      AccessEntry entry;
      entry.name = readString(a.required("name"), a.at("name"));
      entry.rights = readString(a.required("rights"), a.at("rights"));
      if (const auto* flags = a.optional("flags")) entry.flags = readUInt32(*flags, a.at("flags"));
      a.finish();
      folder.access.push_back(entry);
    }
  }
  f.finish();
  return folder;
}

uint32_t readPropertyTag(const std::string& key, const Place& place) {
  char* end = nullptr;
  const bool shaped = key.size() == 10 && key[0] == '0' && key[1] == 'x';
  const unsigned long tag = shaped ? std::strtoul(key.c_str() + 2, &end, 16) : 0;
  if (!shaped || *end) place.fail("\"" + key + "\" is not a property tag such as 0xAF17000B");
  const uint32_t type = PROP_TYPE(tag);
  if (type != PT_BOOLEAN && type != PT_LONG && type != PT_UNICODE)
    place.fail("property " + key + " has a type other than boolean (000B), long (0003) or string (001F)");
  return static_cast<uint32_t>(tag);
}

Message readMessage(const json::value& value, const Place& place) {
  Fields f(value, place);
  Message message;
  message.entryId = readHexBytes(f.required("entryId"), f.at("entryId"));
  if (const auto* v = f.optional("properties")) {
    const Place at = f.at("properties");
    if (!v->is_object()) at.fail("expected an object");
    for (const auto& member : v->as_object()) {
      const std::string key(member.key());
      const uint32_t tag = readPropertyTag(key, at);
      const Place valuePlace = at.field(key);
      switch (PROP_TYPE(tag)) {
        case PT_BOOLEAN: message.properties[tag] = readBool(member.value(), valuePlace); break;
        case PT_LONG: message.properties[tag] = readUInt32(member.value(), valuePlace); break;
        default: message.properties[tag] = readString(member.value(), valuePlace); break;
      }
    }
  }
  f.finish();
  return message;
}

StoreClass readStoreClass(const json::value& value, const Place& place) {
  const std::wstring text = readString(value, place);
  if (text == L"private") return StoreClass::Private;
  if (text == L"public") return StoreClass::Public;
  if (text == L"delegate") return StoreClass::Delegate;
  place.fail("expected \"private\", \"public\" or \"delegate\"");
}

json::value parseJson(const std::string& text) {
  json::stream_parser parser;
  json::error_code error;
  const size_t used = parser.write_some(text.data(), text.size(), error);
  if (!error) parser.finish(error);
  if (error) {
    // The parser stops at the byte it could not take; count lines up to it.
    const size_t offset = std::min(used, text.size());
    size_t line = 1, column = 1;
    for (size_t i = 0; i < offset; ++i) {
      if (text[i] == '\n') {
        ++line;
        column = 1;
      } else {
        ++column;
      }
    }
    corrupt(std::string(kMailboxFileName) + ": line " + std::to_string(line) + ", column " +
            std::to_string(column) + ": " + error.message());
  }
  return parser.release();
}

std::string readWholeFile(const std::filesystem::path& path, bool& exists) {
  std::ifstream in(path, std::ios::binary);
  exists = static_cast<bool>(in);
  if (!exists) return {};
  std::ostringstream content;
  content << in.rdbuf();
  if (in.bad()) ZEL_HERE.raise(STG_E_READFAULT, platform::fromUtf8Lenient(path.u8string() + ": cannot be read").c_str());
  return content.str();
}

}  // namespace

Mailbox parseMailbox(const std::string& scriptBytes, const std::string& jsonText) {
  Mailbox mailbox;
  size_t badByte = 0;
  auto script = platform::fromUtf8(scriptBytes, &badByte);
  if (!script) corrupt(std::string(kScriptFileName) + ": not valid UTF-8 at byte " + std::to_string(badByte));
  mailbox.script = std::move(*script);

  const json::value root = parseJson(jsonText);
  Fields f(root, Place());
  const uint32_t format = readUInt32(f.required("format"), f.at("format"));
  if (format != 1) f.at("format").fail("unsupported version " + std::to_string(format));
  mailbox.rootName = readString(f.required("rootName"), f.at("rootName"));
  readOptionalString(f, "domain", mailbox.domain);
  if (const auto* v = f.optional("serviceUid")) mailbox.serviceUid = readGuid(*v, f.at("serviceUid"));
  if (const auto* v = f.optional("storeClass")) mailbox.storeClass = readStoreClass(*v, f.at("storeClass"));
  if (const auto* v = f.optional("addressBook")) {
    Fields ab(*v, f.at("addressBook"));
    if (const auto* r = ab.optional("ready")) mailbox.addressBookReady = readBool(*r, ab.at("ready"));
    if (const auto* d = ab.optional("done")) mailbox.addressBookDone = readBool(*d, ab.at("done"));
    ab.finish();
  }
  if (const auto* v = f.optional("accountTexts")) mailbox.accountTexts = readNumberedTexts(*v, f.at("accountTexts"));
  if (const auto* v = f.optional("folderNames")) mailbox.folderNames = readNumberedTexts(*v, f.at("folderNames"));
  if (const auto* v = f.optional("sender")) {
    Fields s(*v, f.at("sender"));
    readOptionalString(s, "defaultName", mailbox.sender.defaultName);
    readOptionalString(s, "defaultAddress", mailbox.sender.defaultAddress);
    readOptionalString(s, "senderName", mailbox.sender.senderName);
    readOptionalString(s, "senderAddress", mailbox.sender.senderAddress);
    readOptionalString(s, "replyAddress", mailbox.sender.replyAddress);
    readOptionalString(s, "extraText", mailbox.sender.extraText);
    s.finish();
  }
  if (const auto* v = f.optional("nextDelegateId")) mailbox.nextDelegateId = readUInt32(*v, f.at("nextDelegateId"));
  if (const auto* v = f.optional("delegates")) mailbox.delegates = readDelegates(*v, f.at("delegates"));
  if (const auto* v = f.optional("delegators")) mailbox.delegators = readDelegates(*v, f.at("delegators"));
  if (const auto* v = f.optional("users")) {
    const auto& array = readArray(*v, f.at("users"));
    for (size_t i = 0; i < array.size(); ++i) {
      Fields u(array[i], f.at("users").index(i));
      DirectoryUser user;
      user.address = readString(u.required("address"), u.at("address"));
      readOptionalString(u, "displayName", user.displayName);
      readOptionalString(u, "rights", user.rights);
      u.finish();
      mailbox.users.push_back(user);
    }
  }
  if (const auto* v = f.optional("senderAddresses")) mailbox.senderAddresses = readStrings(*v, f.at("senderAddresses"));
  {
    const Place at = f.at("folders");
    const auto& array = readArray(f.required("folders"), at);
    for (size_t i = 0; i < array.size(); ++i) {
      MailboxFolder folder = readFolder(array[i], at.index(i));
      if (mailbox.findFolder(folder.path))
        at.index(i).field("path").fail("duplicate folder \"" + platform::toUtf8(folder.path) + "\"");
      if (mailbox.findFolderByEntryId(folder.entryId)) at.index(i).field("entryId").fail("duplicate entry id");
      mailbox.folders.push_back(std::move(folder));
    }
  }
  if (const auto* v = f.optional("messages")) {
    const auto& array = readArray(*v, f.at("messages"));
    for (size_t i = 0; i < array.size(); ++i) mailbox.messages.push_back(readMessage(array[i], f.at("messages").index(i)));
  }
  f.finish();
  return mailbox;
}

Mailbox loadMailbox(const std::string& folder) {
  const std::filesystem::path base = std::filesystem::u8path(folder);
  bool scriptExists = false, jsonExists = false;
  const std::string script = readWholeFile(base / kScriptFileName, scriptExists);
  const std::string text = readWholeFile(base / kMailboxFileName, jsonExists);
  if (!jsonExists)
    ZEL_HERE.raise(STG_E_FILENOTFOUND,
                   platform::fromUtf8Lenient((base / kMailboxFileName).u8string() + ": cannot be opened").c_str());
  return parseMailbox(script, text);
}

// --- writing -------------------------------------------------------------------------

namespace {

json::string utf8(const std::wstring& text) { return json::string(platform::toUtf8(text)); }

json::object delegateJson(const Delegate& d) {
  json::object o;
  o["id"] = d.id;
  o["address"] = utf8(d.address);
  o["displayName"] = utf8(d.displayName);
  o["grant"] = d.grant;
  return o;
}

std::string tagText(uint32_t tag) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "0x%08X", static_cast<unsigned>(tag));
  return buffer;
}

bool isScalar(const json::value& v) { return !v.is_object() && !v.is_array(); }

// Two-space indentation; an array of scalars stays on one line.
void writePretty(std::string& out, const json::value& v, int indent) {
  const std::string pad(static_cast<size_t>(indent) * 2, ' ');
  if (v.is_object()) {
    const auto& o = v.as_object();
    if (o.empty()) {
      out += "{}";
      return;
    }
    out += "{\n";
    size_t i = 0;
    for (const auto& member : o) {
      out += pad + "  " + json::serialize(json::value(member.key())) + ": ";
      writePretty(out, member.value(), indent + 1);
      out += ++i < o.size() ? ",\n" : "\n";
    }
    out += pad + "}";
  } else if (v.is_array()) {
    const auto& a = v.as_array();
    if (std::all_of(a.begin(), a.end(), isScalar)) {
      out += "[";
      for (size_t i = 0; i < a.size(); ++i) out += (i ? ", " : "") + json::serialize(a[i]);
      out += "]";
      return;
    }
    out += "[\n";
    for (size_t i = 0; i < a.size(); ++i) {
      out += pad + "  ";
      writePretty(out, a[i], indent + 1);
      out += i + 1 < a.size() ? ",\n" : "\n";
    }
    out += pad + "]";
  } else {
    out += json::serialize(v);
  }
}

void writeFileReplacing(const std::filesystem::path& path, const std::string& bytes) {
  std::filesystem::path temporary = path;
  temporary += ".tmp";
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out)
      ZEL_HERE.raise(STG_E_WRITEFAULT, platform::fromUtf8Lenient(temporary.u8string() + ": cannot be written").c_str());
  }
  std::error_code error;
  std::filesystem::rename(temporary, path, error);
  if (error) {
    // Some file systems refuse to rename over an existing file.
    std::filesystem::remove(path, error);
    std::filesystem::rename(temporary, path, error);
  }
  if (error) {
    std::filesystem::remove(temporary, error);
    ZEL_HERE.raise(STG_E_WRITEFAULT, platform::fromUtf8Lenient(path.u8string() + ": cannot be replaced").c_str());
  }
}

}  // namespace

std::string mailboxToJson(const Mailbox& m) {
  json::object root;
  root["format"] = 1;
  root["rootName"] = utf8(m.rootName);
  root["domain"] = utf8(m.domain);
  root["serviceUid"] = utf8(m.serviceUid.toString());
  root["storeClass"] = m.storeClass == StoreClass::Private  ? "private"
                       : m.storeClass == StoreClass::Public ? "public"
                                                            : "delegate";
  root["addressBook"] = json::object{{"ready", m.addressBookReady}, {"done", m.addressBookDone}};
  json::object texts, names;
  for (const auto& [number, text] : m.accountTexts) texts[std::to_string(number)] = utf8(text);
  for (const auto& [number, text] : m.folderNames) names[std::to_string(number)] = utf8(text);
  root["accountTexts"] = std::move(texts);
  root["folderNames"] = std::move(names);
  root["sender"] = json::object{{"defaultName", utf8(m.sender.defaultName)},
                                {"defaultAddress", utf8(m.sender.defaultAddress)},
                                {"senderName", utf8(m.sender.senderName)},
                                {"senderAddress", utf8(m.sender.senderAddress)},
                                {"replyAddress", utf8(m.sender.replyAddress)},
                                {"extraText", utf8(m.sender.extraText)}};
  root["nextDelegateId"] = m.nextDelegateId;
  json::array delegates, delegators, users, senders, folders, messages;
  for (const auto& d : m.delegates) delegates.push_back(delegateJson(d));
  for (const auto& d : m.delegators) delegators.push_back(delegateJson(d));
  for (const auto& u : m.users)
    users.push_back(json::object{{"address", utf8(u.address)}, {"displayName", utf8(u.displayName)}, {"rights", utf8(u.rights)}});
  for (const auto& s : m.senderAddresses) senders.push_back(utf8(s));
  for (const auto& f : m.folders) {
    json::object o;
    o["path"] = utf8(f.path);
    o["displayPath"] = utf8(f.displayPath);
    o["flags"] = f.flags;
    if (!f.entryId.empty()) o["entryId"] = hexText(f.entryId);
    o["synchronization"] = f.synchronization;
    json::array features;
    for (uint32_t feature : f.features) features.push_back(feature);
    o["features"] = std::move(features);
    o["folderFlags"] = f.folderFlags;
    json::array access;
    for (const auto& a : f.access)
      access.push_back(json::object{{"name", utf8(a.name)}, {"rights", utf8(a.rights)}, {"flags", a.flags}});
    o["access"] = std::move(access);
    folders.push_back(std::move(o));
  }
  for (const auto& message : m.messages) {
    json::object properties;
    for (const auto& [tag, value] : message.properties) {
      if (const bool* b = std::get_if<bool>(&value)) properties[tagText(tag)] = *b;
      else if (const uint32_t* n = std::get_if<uint32_t>(&value)) properties[tagText(tag)] = *n;
      else properties[tagText(tag)] = utf8(std::get<std::wstring>(value));
    }
    messages.push_back(json::object{{"entryId", hexText(message.entryId)}, {"properties", std::move(properties)}});
  }
  root["delegates"] = std::move(delegates);
  root["delegators"] = std::move(delegators);
  root["users"] = std::move(users);
  root["senderAddresses"] = std::move(senders);
  root["folders"] = std::move(folders);
  root["messages"] = std::move(messages);
  std::string out;
  writePretty(out, root, 0);
  out += "\n";
  return out;
}

void saveMailbox(const Mailbox& mailbox, const std::string& folder) {
  const std::filesystem::path base = std::filesystem::u8path(folder);
  const std::string text = mailboxToJson(mailbox);  // built first: a failure writes nothing
  writeFileReplacing(base / kScriptFileName, platform::toUtf8(mailbox.script));
  writeFileReplacing(base / kMailboxFileName, text);
}

}  // namespace ReferenceStore
