#include "lab/LabMarkCommand.h"

#include "lab/LabError.h"
#include "lab/LabRecorder.h"

namespace vigilmoth::LabMarkCommand {

bool run(const std::vector<std::string>& parameters, LabContext& context) {
    auto truth = parameters.size() >= 2 ? namedCase<LabTruth>(parameters[1]) : std::nullopt;
    if (!truth) {
        context.err << "Usage: --lab-mark <agent> <working|waiting|idle|gone> [note]\n";
        context.err.flush();
        return false;
    }
    std::optional<std::string> note;
    for (size_t i = 2; i < parameters.size(); ++i) {
        note = note ? *note + " " + parameters[i] : parameters[i];
    }
    return mark(parameters[0], *truth, note, context);
}

bool mark(const std::string& agent, LabTruth truth, const std::optional<std::string>& note,
          LabContext& context) {
    auto running = context.recordingLock
                       ? LabRecorder::runningRecording(context.labDirectory, *context.recordingLock)
                       : std::nullopt;
    try {
        if (!running) throw LabError::noRecording();
        LabMark mark{.at = context.now(), .agent = agent, .truth = truth, .note = note};
        LabRecorder::appendMark(mark, *running, *context.recordingLock);
    } catch (const LabError& error) {
        context.err << error.description() << "\n";
        context.err.flush();
        return false;
    }
    context.out << "Marked " << agent << " as " << labTruthWord(truth) << "\n";
    return true;
}

}  // namespace vigilmoth::LabMarkCommand
