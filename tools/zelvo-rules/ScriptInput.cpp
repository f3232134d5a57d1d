#include "ScriptInput.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "platform/Utf8.h"
#include "strings/Localization.h"

namespace zelvo {
namespace rules {
namespace details {

bool readAll(std::istream& stream, std::string& bytes) {
  bytes.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  return !stream.bad();
}

std::wstring systemMessage(std::errc code) {
  return platform::fromUtf8Lenient(std::make_error_code(code).message());
}

}  // namespace details

bool readScriptInput(const std::string& operand, std::istream& in, ScriptInput& input, std::wstring& error) {
  namespace fs = std::filesystem;
  const bool fromStdin = operand == "-";
  input.name = fromStdin ? Localization::getString(IDS_TOOL_STDIN_NAME) : platform::fromUtf8Lenient(operand);

  std::string bytes;
  if (fromStdin) {
    if (!details::readAll(in, bytes)) {
      error = Localization::formatString(IDS_TOOL_CANNOT_READ, input.name, details::systemMessage(std::errc::io_error));
      return false;
    }
  } else {
    // The operand is UTF-8 on every system; u8path makes the right native path of it.
    const fs::path path = fs::u8path(operand);
    std::error_code ec;
    const fs::file_status status = fs::status(path, ec);
    if (ec || !fs::exists(status)) {
      const std::wstring why = ec ? platform::fromUtf8Lenient(ec.message())
                                  : details::systemMessage(std::errc::no_such_file_or_directory);
      error = Localization::formatString(IDS_TOOL_CANNOT_READ, input.name, why);
      return false;
    }
    if (fs::is_directory(status)) {
      error = Localization::formatString(IDS_TOOL_CANNOT_READ, input.name, details::systemMessage(std::errc::is_a_directory));
      return false;
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file || !details::readAll(file, bytes)) {
      const int code = errno ? errno : static_cast<int>(std::errc::io_error);
      const std::wstring why = platform::fromUtf8Lenient(std::error_code(code, std::generic_category()).message());
      error = Localization::formatString(IDS_TOOL_CANNOT_READ, input.name, why);
      return false;
    }
  }

  std::string_view view(bytes);
  if (view.substr(0, 3) == "\xEF\xBB\xBF") view.remove_prefix(3);
  size_t badOffset = 0;
  std::optional<std::wstring> text = platform::fromUtf8(view, &badOffset);
  if (!text) {
    const size_t offset = badOffset + (bytes.size() - view.size());
    error = Localization::formatString(IDS_TOOL_NOT_UTF8, input.name, offset);
    return false;
  }
  input.text = std::move(*text);
  return true;
}

}  // namespace rules
}  // namespace zelvo
