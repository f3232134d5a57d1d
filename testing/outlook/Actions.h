// A run of host actions as data: what a user does in the host, one action a line.
//
//   # a comment
//   startup                          the host has started (Application.Startup)
//   open-folder STORE PATH           the explorer in front shows the folder PATH of store
//                                    STORE (numbered from 0 as the profile lists them);
//                                    with no explorer open, a new one opens on it
//   select ENTRYID...                the explorer in front selects these items (hex ids);
//                                    none clears the selection
//   open-inspector ENTRYID read|compose   a new inspector on the item
//   send N                           compose inspector N (from 1, as the host numbers its
//                                    windows) sends its item; unless a sink cancels, it closes
//   close-inspector N                inspector N closes
//   quit                             every window closes, then Application.Quit
//   connect                          the add-in's side, played by the caller:
//   click CONTROLID                    connected, and a ribbon control clicked
#pragma once

#include <string>
#include <vector>

namespace OutlookStandIn {

struct HostAction {
  enum class Verb { Startup, OpenFolder, Select, OpenInspector, Send, CloseInspector, Quit, Connect, Click };
  Verb verb = Verb::Startup;
  unsigned line = 0;
  size_t store = 0;                   // open-folder
  size_t window = 0;                  // send, close-inspector: from 1
  std::wstring text;                  // open-folder's path, click's control
  std::vector<std::wstring> entryIds;  // select; open-inspector's one
  bool compose = false;               // open-inspector
};

// Raises E_INVALIDARG with "actions line N: expected ..." for anything it does not know.
std::vector<HostAction> parseActions(const std::string& text);
// Raises STG_E_FILENOTFOUND naming the file when it cannot be read.
std::vector<HostAction> loadActions(const std::string& path);

}  // namespace OutlookStandIn
