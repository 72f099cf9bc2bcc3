#include "lab/LabReadCommands.h"

#include <fstream>
#include <sstream>

#include "base/Utf8.h"
#include "lab/LabError.h"
#include "lab/LabFormat.h"
#include "lab/LabNotices.h"
#include "lab/LabReplay.h"

namespace vigilmoth::LabReadCommands {
namespace {

void fail(LabContext& context, const std::string& message) {
    context.err << message << "\n";
    context.err.flush();
}

bool usage(LabContext& context, const char* text) {
    context.err << text;
    context.err.flush();
    return false;
}

// Reads and decodes a recording, or tells why not and answers none.
std::optional<LabRecording> readRecording(const std::string& path, LabContext& context) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    if (file) bytes << file.rdbuf();
    if (!file || file.bad()) {
        fail(context, "Cannot read " + path + ".");
        return std::nullopt;
    }
    try {
        return LabFormat::recording(repairedUtf8(bytes.str()));
    } catch (const LabError& error) {
        fail(context, error.description());
        return std::nullopt;
    }
}

bool print(const std::string& text, LabContext& context) {
    context.out << text << "\n";
    context.out.flush();
    return true;
}

}  // namespace

bool runScore(const std::vector<std::string>& parameters, LabContext& context) {
    if (parameters.empty()) return usage(context, "Usage: --lab-score <file>\n");
    return score(parameters[0], context);
}

bool runNotices(const std::vector<std::string>& parameters, LabContext& context) {
    if (parameters.empty()) return usage(context, "Usage: --lab-notices <file>\n");
    return notices(parameters[0], context);
}

bool score(const std::string& path, LabContext& context) {
    auto recording = readRecording(path, context);
    if (!recording) return false;
    return print(LabReplay::score(*recording, std::nullopt, std::nullopt).report(), context);
}

bool notices(const std::string& path, LabContext& context) {
    auto recording = readRecording(path, context);
    if (!recording) return false;
    return print(LabNotices::report(*recording), context);
}

}  // namespace vigilmoth::LabReadCommands
