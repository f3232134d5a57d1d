// The memory functions of the store behind a configuration object: every record that
// crosses the store interfaces comes from them and goes back to them.
#pragma once

#include "store/MapiAlloc.h"
#include "store/StoreConfig.h"
#include "base/ComRef.h"

namespace zelvo {
namespace config {

// Raises what getAllocator, the query for the allocator or getAllocators raise.
template <class Config>
MapiAlloc storeAllocators(Config* config) {
  ComRef<IStoreAllocator> allocator;
  AddIn::Utils::getAllocatorFromConfig(config, allocator.put());
  MapiAlloc functions;
  MapiAlloc::getAlloc(functions, allocator.get());
  return functions;
}

}  // namespace config
}  // namespace zelvo
