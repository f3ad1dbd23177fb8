// Fault injection: the stored changes that make an object fail or come back.
#pragma once

#include <vector>

#include "model.h"
#include "store.h"

namespace kvda {

// The changes for `kvda fail` (failed = true) or `kvda replace`. Throws
// Error when the object's kind cannot fail.
std::vector<Store::Change> faultChanges(const Estate& estate, const Object& obj, bool failed);

}  // namespace kvda
