// The product's one test of whether a text is an e-mail address, shared by the rule
// descriptions, the sender settings and the delegate dialog.
#pragma once

#include <string>

#include "platform/Win32.h"

namespace zelvo {

// S_OK when the whole text is an address, S_FALSE when it is not. The expression is
// built on the first call; a failure to build or run it is answered as E_OUTOFMEMORY
// (no memory) or E_FAIL, never raised.
//
// The part after "@" may be a single label without any dot, and a trailing top-level
// label counts no more than any other: "a@b" is an address.
HRESULT checkEmailAddress(const std::wstring& text);

}  // namespace zelvo
