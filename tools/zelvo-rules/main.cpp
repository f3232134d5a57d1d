// zelvo-rules: the process around runTool. Arguments arrive as UTF-8, and the output goes
// out as the UTF-8 bytes that the commands make, untouched by any text mode.
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "Commands.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>

#include "platform/Utf8.h"
#include "platform/Win32.h"

namespace {

// The console shows our bytes as UTF-8 while the tool runs, and as before afterwards.
class ConsoleUtf8 {
 public:
  ConsoleUtf8() : previous_(GetConsoleOutputCP()) {
    if (previous_) SetConsoleOutputCP(CP_UTF8);
  }
  ~ConsoleUtf8() {
    if (previous_) SetConsoleOutputCP(previous_);
  }

 private:
  UINT previous_;
};

}  // namespace

int wmain(int argc, wchar_t** argv) {
  // Binary streams: CRLF from the writer must not become CR CR LF, and input bytes stay as
  // they are.
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  ConsoleUtf8 console;
  std::vector<std::string> args;
  for (int i = 1; i < argc; ++i) args.push_back(platform::toUtf8(argv[i]));
#else
int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
#endif
  zelvo::rules::ToolIo io{std::cin, std::cout, std::cerr};
  const int code = zelvo::rules::runTool(args, io);
  std::cout.flush();
  std::cerr.flush();
  return code;
}
