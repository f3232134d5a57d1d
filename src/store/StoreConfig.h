// How the add-in reaches the store contract: a store or folder of the product hands out
// its configuration object as the object property kConfigPropertyTag; a foreign store
// refuses it, and that refusal is how a foreign object is told apart.
#pragma once

#include "store/StoreInterfaces.h"

namespace details {
// Raises E_INVALIDARG for a null object, a null out or an out that already holds a
// pointer; any failure of OpenProperty or QueryInterface is raised unchanged.
void getConfigForObject(IMAPIProp* object, IGlobalConfig** out);
void getConfigForObject(IMAPIProp* object, IFolderConfig** out);
}  // namespace details

namespace AddIn {
namespace Utils {
// getAllocator, then the store allocator interface of what it gave. Raises E_INVALIDARG
// for a null config or out, and any failure unchanged.
void getAllocatorFromConfig(IGlobalConfig* config, IStoreAllocator** out);
void getAllocatorFromConfig(IFolderConfig* config, IStoreAllocator** out);
}  // namespace Utils
}  // namespace AddIn
