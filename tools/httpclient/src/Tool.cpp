#include "Tool.h"

#include "command/CommandLine.h"
#include "output/DescriptorWriter.h"
#include "report/SystemFailure.h"
#include "terminal/LogOutput.h"
#include "transfer/Session.h"

#include <variant>

namespace foundation::httpclient_tool {
namespace {

void print(const Information& information, int standardOutput) {
    const int error = writeAll(standardOutput, information.text);
    if (error != 0) {
        throw systemFailure("cannot write standard output", error);
    }
}

ExitCode execute(const std::vector<std::string>& arguments, Environment& environment) {
    const Command command = parseCommandLine(arguments);
    if (const auto* information = std::get_if<Information>(&command)) {
        print(*information, environment.standardOutput);
        return ExitCode::Success;
    }
    const auto& options = std::get<RequestOptions>(command);
    const LogOutput log(environment.errors, options.verbose);
    return runSession(options, environment);
}

}  // namespace

ExitCode run(const std::vector<std::string>& arguments, Environment& environment) noexcept {
    try {
        return execute(arguments, environment);
    } catch (const Failure& failure) {
        environment.errors.failure(failure.what());
        return failure.code();
    } catch (const std::exception& error) {
        environment.errors.failure(error.what());
        return ExitCode::Failed;
    }
}

}  // namespace foundation::httpclient_tool
