#include "benchmarks/Subjects.h"
#include "benchmarks/sides/Library.h"
#include "benchmarks/sides/StringStreamBody.h"
#include "benchmarks/support/Measure.h"
#include "benchmarks/workloads/BodyWorkloads.h"
#include "benchmarks/workloads/ExchangeWorkloads.h"

#include <cstddef>

namespace foundation::httpclient_core::benchmarks {

void addExchanges(Benchmarks& benchmarks) {
    exchangeWorkloads(benchmarks.of("library"));
}

void addBodies(Benchmarks& benchmarks) {
    constexpr std::size_t megabyte = 1'000'000;
    const Row row{"Response body of 100 MB"};
    bodyWorkload<LibraryBody>(row, 100 * megabyte, benchmarks.of("library"));
    bodyWorkload<StringStreamBody>(row, 100 * megabyte, benchmarks.of("std::stringstream"));
    for (const int megabytes : {1, 3, 10, 30, 100, 300, 1000}) {
        const auto count = static_cast<std::size_t>(megabytes);
        const Row growing{"Receive a body", 0, megabytes};
        bodyWorkload<LibraryBody>(growing, count * megabyte, benchmarks.growing("library", count));
        bodyWorkload<StringStreamBody>(growing, count * megabyte,
                                       benchmarks.growing("std::stringstream", count));
    }
}

}  // namespace foundation::httpclient_core::benchmarks
