// outlook-standin.exe PROFILE SCENARIO [host arguments...]: the host stand-in with the real
// add-in module, created by ProgID as the host creates it, playing one scenario. Host
// arguments stay on the process's command line, where the add-in reads them ("-embedding").
// The status is the number of failed expectations; a step that can't be made gives 100.
#include <fstream>
#include <iostream>
#include <sstream>

#include "base/HResultException.h"
#include "platform/Utf8.h"
#include "testing/outlook/player/ScenarioPlayer.h"

namespace {

std::string readScenario(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) ZEL_HERE.raise(STG_E_FILENOTFOUND, L"can't read " + platform::fromUtf8Lenient(path));
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

std::string folderOf(const std::string& path) {
  const auto slash = path.find_last_of("/\\");
  return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: outlook-standin PROFILE SCENARIO [host arguments...]\n";
    return 100;
  }
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 100;
  int status = 0;
  try {
    OutlookStandIn::ScenarioPlayer player(OutlookStandIn::StandIn::load(argv[1]), folderOf(argv[2]), std::cout);
    player.play(readScenario(argv[2]));
    status = player.failures();
    std::cout << (status ? "scenario failed" : "scenario passed") << "\n";
  } catch (const HResultException& e) {
    std::cout << "ERROR: " << platform::toUtf8(e.text()) << "\n";
    status = 100;
  } catch (const std::exception& e) {
    std::cout << "ERROR: " << e.what() << "\n";
    status = 100;
  }
  CoUninitialize();
  return status;
}
