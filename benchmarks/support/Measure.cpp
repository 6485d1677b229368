#include "benchmarks/support/Measure.h"

#include <algorithm>

namespace foundation::httpclient_core::benchmarks {

void Benchmarks::remember(const std::string& row) {
    if (std::find(rows_.begin(), rows_.end(), row) == rows_.end()) {
        rows_.push_back(row);
    }
}

}  // namespace foundation::httpclient_core::benchmarks
