#include "lab/LabRecordCommand.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "base/DefaultsKeys.h"
#include "catalog/AgentCatalog.h"
#include "decision/DetectionSettingsStore.h"
#include "lab/LabError.h"
#include "lab/LabRecorder.h"

namespace vigilmoth::LabRecordCommand {
namespace {

std::string printed(const char* format, auto... values) {
    char text[160];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string clockTime(Date at, const Calendar& calendar) {
    // Counted in whole milliseconds, as frame times are: 0.123 is a hair below it as a double.
    double total = std::round(at.secondsSince1970() * 1000);
    double whole = std::floor(total / 1000);
    int milliseconds = static_cast<int>(total - whole * 1000);
    auto time = calendar.formatted(Date(whole), "%H:%M:%S").value_or("??:??:??");
    return time + printed(".%03d", milliseconds);
}

std::string agentPart(const AgentHold& hold) {
    const auto& reading = hold.reading;
    std::string part = reading.agentID + ":" + std::to_string(reading.identity.pid) + " " +
                       std::string(*codedName(reading.verdict.state)) + " (" +
                       reading.verdict.reason.code() + ")";
    if (hold.cause) part += " holds:" + std::string(LabFormat::holdWord(*hold.cause));
    return part;
}

struct Recording {
    DetectionSettings settings;
    AwakeMode mode = AwakeMode::agentWorking;
};

Recording usersChoice(const LabContext& context) {
    Recording choice;
    if (!context.defaults) return choice;
    choice.settings = DetectionSettingsStore::load(*context.defaults, AgentCatalog::standard());
    choice.mode = storedAwakeMode(context.defaults->stringValue(defaults_keys::mode));
    return choice;
}

}  // namespace

std::string statusLine(const DetectionSample& sample, const Calendar& calendar) {
    std::string line = clockTime(sample.frame.at, calendar) +
                       " hold=" + (sample.decision.hold ? "yes" : "no") + " " +
                       printed("%.2fms", sample.cost * 1000);
    for (const auto& hold : sample.decision.perAgent)
        line += " | " + agentPart(hold);
    if (sample.decision.perAgent.empty()) line += " | no agents";
    return line;
}

std::string summary(Totals totals) {
    std::sort(totals.costs.begin(), totals.costs.end());
    auto milliseconds = [&](size_t index) {
        return totals.costs.empty() ? 0.0 : totals.costs[index] * 1000;
    };
    double seconds = totals.seconds > 0 ? totals.seconds : 0;
    auto perSecond = [&](double value) { return seconds > 0 ? value / seconds : 0.0; };
    return printed("Stopped after %.1f s and %zu samples.\n", seconds, totals.costs.size()) +
           printed("Sample cost: min %.2f ms, median %.2f ms, max %.2f ms.\n", milliseconds(0),
                   milliseconds(totals.costs.size() / 2),
                   milliseconds(totals.costs.empty() ? 0 : totals.costs.size() - 1)) +
           printed("Process CPU: %.2f s, %.2f%% of one core.\n", totals.cpuSeconds,
                   perSecond(totals.cpuSeconds) * 100) +
           printed("File: %ju bytes, %.0f bytes per minute.\n", totals.fileBytes,
                   perSecond(static_cast<double>(totals.fileBytes)) * 60) +
           totals.path;
}

bool run(const std::vector<std::string>& parameters, LabContext& context) {
    if (!context.liveLoop || !context.recordingLock) {
        context.err << "Recording needs the live detection loop, which this system lacks.\n";
        context.err.flush();
        return false;
    }
    std::string label;
    for (const auto& word : parameters)
        label += (label.empty() ? "" : " ") + word;
    auto choice = usersChoice(context);
    LabHeader header{
        .label = label,
        .startedAt = context.now(),
        .app = context.appVersion,
        .os = context.osVersion,
        .model = context.model,
        .mode = std::string(*codedName(choice.mode)),
        .settings = choice.settings,
    };
    LabRecorder recorder(context.labDirectory, *context.recordingLock);
    std::string path;
    try {
        path = recorder.start(header);
    } catch (const LabError& error) {
        context.err << error.description() << "\n";
        context.err.flush();
        return false;
    } catch (const std::exception& error) {
        context.err << error.what() << "\n";
        context.err.flush();
        return false;
    }
    context.out << "Recording to " << path << "\n";
    context.out.flush();

    auto& loop = *context.liveLoop;
    Totals totals{.path = path};
    {
        DetectionEngine engine(loop.engineParts());
        engine.setSettings(choice.settings);
        engine.setMode(choice.mode);
        if (auto* notices = loop.sleepNotices()) engine.follow(*notices);
        engine.onSample = [&](const DetectionSample& sample) {
            recorder.record(sample.frame, sample.decision, sample.cost);
            totals.costs.push_back(sample.cost);
            context.out << statusLine(sample) << "\n";
            context.out.flush();
        };
        engine.start();
        loop.runUntilStopped();
        recorder.stop();
        engine.stop();
    }
    totals.seconds = context.now() - header.startedAt;
    totals.cpuSeconds = loop.processCPUSeconds();
    std::error_code error;
    totals.fileBytes = std::filesystem::file_size(path, error);
    if (error) totals.fileBytes = 0;
    context.out << summary(std::move(totals)) << "\n";
    context.out.flush();
    return true;
}

}  // namespace vigilmoth::LabRecordCommand
