#include "benchmarks/Subjects.h"
#include "benchmarks/sides/Library.h"
#include "benchmarks/sides/PlainModel.h"
#include "benchmarks/sides/PocoTexts.h"
#include "benchmarks/support/Measure.h"
#include "benchmarks/workloads/TextWorkloads.h"

namespace foundation::httpclient_core::benchmarks {

void addHeaderTexts(Benchmarks& benchmarks) {
    headerTextWorkloads<LibraryTexts>(benchmarks.of("library"));
    headerTextWorkloads<PocoTexts>(benchmarks.of("POCO"));
    headerTextWorkloads<ModelTexts>(benchmarks.of("plain model"));
}

}  // namespace foundation::httpclient_core::benchmarks
