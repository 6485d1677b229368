#include "benchmarks/Subjects.h"
#include "benchmarks/sides/BoostURL.h"
#include "benchmarks/sides/CurlURL.h"
#include "benchmarks/sides/HttplibHeaders.h"
#include "benchmarks/sides/Library.h"
#include "benchmarks/sides/PlainModel.h"
#include "benchmarks/support/Measure.h"
#include "benchmarks/workloads/TextWorkloads.h"
#include "benchmarks/workloads/URLWorkloads.h"

#include <cstddef>

namespace foundation::httpclient_core::benchmarks {

void addURLs(Benchmarks& benchmarks) {
    percentWorkloads<LibraryTexts>(benchmarks.of("library"));
    percentWorkloads<BoostTexts>(benchmarks.of("Boost.URL"));
    percentWorkloads<CurlTexts>(benchmarks.of("libcurl"));
    percentWorkloads<HttplibTexts>(benchmarks.of("cpp-httplib"));
    percentWorkloads<ModelTexts>(benchmarks.of("plain model"));

    urlWorkloads<LibraryURL>(benchmarks.of("library"));
    urlWorkloads<BoostURL>(benchmarks.of("Boost.URL"));
    urlWorkloads<CurlURL>(benchmarks.of("libcurl"));
    urlWorkloads<ModelURL>(benchmarks.of("plain model"));

    queryWorkloads<LibraryQuery>(benchmarks.of("library"));
    queryWorkloads<BoostQuery>(benchmarks.of("Boost.URL"));
    queryWorkloads<HttplibQuery>(benchmarks.of("cpp-httplib"));
    queryWorkloads<ModelQuery>(benchmarks.of("plain model"));
    for (const std::size_t count : {1U, 3U, 10U, 30U, 100U, 300U, 1000U, 3000U, 10000U}) {
        growingQueryWorkloads<LibraryQuery>(count, benchmarks.growing("library", count));
        growingQueryWorkloads<BoostQuery>(count, benchmarks.growing("Boost.URL", count));
        growingQueryWorkloads<ModelQuery>(count, benchmarks.growing("plain model", count));
    }
}

}  // namespace foundation::httpclient_core::benchmarks
