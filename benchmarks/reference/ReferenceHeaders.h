#pragma once
#include "tests/headers/ReferenceCollection.h"

namespace foundation::httpclient_core::benchmarks {

/// The plain collection that the tests compare the library with is the yardstick here too.
using ReferenceHeaders = testing::ReferenceCollection;

}  // namespace foundation::httpclient_core::benchmarks
