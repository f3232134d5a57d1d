// A client process for the watcher tests: it only waits until it is killed, or gives up
// after a minute so that a failed test leaves nothing behind.
#include <chrono>
#include <thread>

int main() {
  std::this_thread::sleep_for(std::chrono::seconds(60));
  return 0;
}
