#include "lab/LabReadCommands.h"

#include <fstream>

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

bool print(const std::string& text, LabContext& context) {
    context.out << text << "\n";
    context.out.flush();
    return true;
}

// Reads the recording with `read`, line by line, and prints what it answers; or tells why the
// file cannot be read and answers false.
template <class Read>
bool readAndPrint(const std::string& path, LabContext& context, Read read) {
    std::ifstream file(path, std::ios::binary);
    std::string text;
    try {
        if (file) text = read(file);
    } catch (const LabError& error) {
        fail(context, error.description());
        return false;
    }
    if (!file.is_open() || file.bad()) {
        fail(context, "Cannot read " + path + ".");
        return false;
    }
    return print(text, context);
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
    return readAndPrint(path, context,
                        [](std::istream& file) { return LabReplay::score(file).report(); });
}

bool notices(const std::string& path, LabContext& context) {
    return readAndPrint(path, context, [](std::istream& file) {
        return LabNotices::report(LabFormat::recording(file));
    });
}

}  // namespace vigilmoth::LabReadCommands
