// Calls by name on any IDispatch: the one way into the host's object model. Each call
// asks GetIDsOfNames for the member and then Invoke, in the user's default locale.
// Arguments are given in the member's own order; a failure is raised with the member's
// name in the message, and with the host's own description when it gave one.
#pragma once

#include <initializer_list>
#include <string>

#include "base/Variant.h"
#include "platform/Win32.h"

namespace zelvo {

// The member's dispatch id; raises the failure of GetIDsOfNames (DISP_E_UNKNOWNNAME).
DISPID dispatchIdOf(IDispatch* object, const std::wstring& name);

Variant getProperty(IDispatch* object, const std::wstring& name, std::initializer_list<Variant> arguments = {});
void putProperty(IDispatch* object, const std::wstring& name, const Variant& value);
Variant callMethod(IDispatch* object, const std::wstring& name, std::initializer_list<Variant> arguments = {});

}  // namespace zelvo
