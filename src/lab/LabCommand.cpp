#include "lab/LabCommand.h"

#include <algorithm>
#include <functional>
#include <map>

#include "lab/LabAgents.h"
#include "lab/LabHooks.h"
#include "lab/LabMarkCommand.h"
#include "lab/LabReadCommands.h"
#include "lab/LabRecordCommand.h"

namespace vigilmoth::LabCommand {
namespace {

using Parameters = std::vector<std::string>;
using Handler = std::function<bool(const Parameters&, LabContext&)>;

// One entry per lab command; the dispatch below knows nothing else about them.
const std::map<std::string, Handler>& commands() {
    static const std::map<std::string, Handler> table = {
        {"--lab-agents", LabAgents::run},
        {"--lab-hooks", LabHooks::run},
        {"--lab-mark", LabMarkCommand::run},
        {"--lab-score", LabReadCommands::runScore},
        {"--lab-notices", LabReadCommands::runNotices},
        {"--lab-record", LabRecordCommand::run},
    };
    return table;
}

}  // namespace

bool run(const std::vector<std::string>& arguments, LabContext& context) {
    auto first = arguments.empty() ? arguments.end() : arguments.begin() + 1;
    auto command = std::find_if(first, arguments.end(), [](const std::string& argument) {
        return argument.rfind("--lab-", 0) == 0;
    });
    if (command == arguments.end()) return false;
    Parameters parameters(command + 1, arguments.end());
    auto handler = commands().find(*command);
    if (handler == commands().end()) {
        context.err << "Unknown lab command " << *command << ".\n";
        context.err.flush();
        return false;
    }
    return handler->second(parameters, context);
}

}  // namespace vigilmoth::LabCommand
