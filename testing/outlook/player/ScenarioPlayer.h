// Plays a scenario against the real add-in module, as the host does: the host's own
// actions go to the stand-in, the add-in's (connection, start-up, ribbon documents and
// callbacks, shutdown) are made on the object created by ProgID, and "expect" lines check
// what came back. One step a line:
//
//   create                         CoCreateInstance of DravAddIn.UserInterface.1
//   connect MODE                   OnConnection with the host's application and COMAddIn
//   startup-complete | begin-shutdown | disconnect | release
//   custom-ui RIBBONID             GetCustomUI
//   on-load explorer|inspector     the document's onLoad callback with the host's ribbon
//   call NAME CONTROL WINDOW [true|false]
//                                  a callback by name for a control of the window in front
//                                  (explorer, inspector or none), with "pressed" when given
//   check-callbacks WINDOW         every callback the last document names, by its name there:
//                                  texts against the string table, pictures and states present
//   select-many N                  the explorer in front selects N messages
//   time-startup PROFILE RUNS      start-up (connect 1 to the end of startup-complete) on a
//                                  fresh host of PROFILE; the median of RUNS is printed
//   time-call RUNS NAME CONTROL WINDOW   one callback, the median of RUNS printed
//   expect result S_OK|S_FALSE|0xXXXXXXXX    the last call's result
//   expect xml 15000|15001|15002|none        the last document, against the module's bytes
//   expect value true|false|empty|string:ID  the last callback's answer
//   expect calls OBJECT.MEMBER N   how often the host was called so
//   answer-box tick|plain yes|no   how the user answers the next message box (an unexpected
//                                  box is answered no, and counts as a failure)
//   expect boxes N                 how many boxes the user has answered
//   set-confirm-option true|false  the local option that asks before marking as spam
//   expect confirm-option true|false
//   expect junk-marks STORE N      how many markAsJunk calls store STORE received
//   expect junk-mark STORE INDEX junk|good ENTRYID...   what the call INDEX (from 0) handed over
//   anything else                  a host action (Actions.h), played by the stand-in
#pragma once

#include <iosfwd>
#include <memory>
#include <string>

#include "base/ComRef.h"
#include "base/Variant.h"
#include "platform/Win32.h"
#include "testing/outlook/StandIn.h"

namespace OutlookStandIn {

class MessageBoxAnswerer;

class ScenarioPlayer {
 public:
  // Profiles that a scenario names are found in scenarioFolder.
  ScenarioPlayer(std::unique_ptr<StandIn> host, std::string scenarioFolder, std::ostream& out);
  ~ScenarioPlayer();

  // Plays every line; a failed expectation is reported and counted, a step that can't be
  // made raises with its line.
  void play(const std::string& scenario);
  int failures() const { return failures_; }

 private:
  void step(const std::string& line, unsigned number);
  void expect(const std::string& what, const std::string& value, unsigned number);
  void checkCallbacks(const std::string& window, unsigned number);
  HRESULT callByName(const std::wstring& name, const std::wstring& control, const std::string& window,
                     const std::string& pressed);
  ComRef<IDispatch> windowContext(const std::string& window);
  void fail(unsigned number, const std::string& message);
  void timeStartup(const std::string& profile, int runs);
  void timeCall(int runs, const std::wstring& name, const std::wstring& control, const std::string& window);
  void expectJunkMark(const std::vector<std::string>& words, unsigned number);

  std::unique_ptr<StandIn> host_;
  std::string scenarioFolder_;
  std::ostream& out_;
  ComRef<IDispatch> addIn_;
  HRESULT lastResult_ = S_OK;
  bool haveXml_ = false;
  std::wstring xml_;
  Variant value_;
  int failures_ = 0;
  std::unique_ptr<MessageBoxAnswerer> boxes_;
};

}  // namespace OutlookStandIn
