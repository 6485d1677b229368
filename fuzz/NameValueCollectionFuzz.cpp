// Collections against the list and the map that they are documented as, through the operations that the
// input decides: the first byte chooses among a few names and many, and texts of the input are names too.
#include "fuzz/support/Draws.h"
#include "fuzz/support/Oracle.h"
#include "fuzz/support/Target.h"
#include "tests/headers/CollectionModelRun.h"

#include <string>
#include <vector>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace foundation::fuzz;
    namespace collection = foundation::httpclient_core::testing::collection;
    ByteDraws draws(data, size);
    const std::size_t own = draws.below(8);
    std::vector<std::string> names = own < 4 ? collection::names() : collection::manyNames();
    for (std::size_t i = 0; i < own % 4; ++i) {
        names.push_back(draws.text(12));
    }
    collection::ModelRun<ByteDraws> run(draws, names);
    while (!draws.isAtEnd()) {
        const char* const what = run.step();
        const auto result = run.check();
        require(static_cast<bool>(result), what, result.message());
    }
    const auto result = run.checkEverything();
    require(static_cast<bool>(result), "everything at the end", result.message());
    return 0;
}
