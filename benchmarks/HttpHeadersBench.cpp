#include "benchmarks/Subjects.h"
#include "benchmarks/sides/BareTexts.h"
#include "benchmarks/sides/BeastHeaders.h"
#include "benchmarks/sides/HttplibHeaders.h"
#include "benchmarks/sides/Library.h"
#include "benchmarks/sides/PlainModel.h"
#include "benchmarks/support/Measure.h"
#include "benchmarks/workloads/HeaderWorkloads.h"

#include <cstddef>

namespace foundation::httpclient_core::benchmarks {

void addHeaders(Benchmarks& benchmarks) {
    headerWorkloads<LibraryHeaders>(benchmarks.of("library"));
    headerWorkloads<BeastHeaders>(benchmarks.of("Boost.Beast"));
    headerWorkloads<HttplibHeaders>(benchmarks.of("cpp-httplib"));
    headerWorkloads<ModelHeaders>(benchmarks.of("plain model"));
    fillingWorkloads<BareHeaders>(benchmarks.of("bare texts"));
    for (const std::size_t count : {14U, 60U, 300U, 1000U, 3000U, 10000U, 30000U, 100000U}) {
        growingHeaderWorkloads<LibraryHeaders>(count, benchmarks.growing("library", count));
        growingHeaderWorkloads<BeastHeaders>(count, benchmarks.growing("Boost.Beast", count));
        growingHeaderWorkloads<ModelHeaders>(count, benchmarks.growing("plain model", count));
    }
}

}  // namespace foundation::httpclient_core::benchmarks
