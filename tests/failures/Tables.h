#pragma once
#include "tests/failures/Operation.h"

/// The public operations of the library, by subsystem.
namespace foundation::httpclient_core::testing {

Operations collectionOperations();
Operations headerOperations();
Operations urlOperations();
Operations queryOperations();
Operations messageOperations();
Operations requestOperations();
Operations responseOperations();
Operations bodyOperations();
Operations configurationOperations();
Operations strategyOperations();
Operations diagnosticsOperations();
Operations clientOperations();

}  // namespace foundation::httpclient_core::testing
