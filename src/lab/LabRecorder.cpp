#include "lab/LabRecorder.h"

#include <chrono>
#include <filesystem>

#include "lab/LabError.h"
#include "lab/LabFormat.h"

namespace vigilmoth {

std::string LabRecorder::labDirectory(const PathEnvironment& environment) {
    return WellKnownPaths::applicationSupport(environment) + "/lab";
}

namespace {

std::string utcStamp(Date at) {
    using namespace std::chrono;
    auto seconds = sys_seconds(duration_cast<std::chrono::seconds>(
        floor<std::chrono::seconds>(duration<double>(at.secondsSince1970()))));
    auto day = floor<days>(seconds);
    year_month_day date(day);
    hh_mm_ss time(seconds - day);
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d-%02d-%02dZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text;
}

bool safeInFileName(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '-' || character == '_';
}

}  // namespace

std::string LabRecorder::fileName(std::string_view label, Date at) {
    // Bytes outside ASCII belong to letters that are dropped anyway, so a byte test is enough.
    std::string kept;
    for (char character : label) {
        if (safeInFileName(character)) kept += character;
    }
    return utcStamp(at) + "-" + (kept.empty() ? "recording" : kept) + ".jsonl";
}

std::optional<std::string> LabRecorder::newestRecording(const std::string& folder) {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    if (error) return std::nullopt;
    std::optional<std::string> newest;
    fs::file_time_type newestTime;
    for (const auto& entry : entries) {
        if (entry.path().extension() != ".jsonl") continue;
        auto modified = fs::last_write_time(entry.path(), error);
        if (error) continue;
        if (!newest || modified > newestTime) {
            newest = entry.path().string();
            newestTime = modified;
        }
    }
    return newest;
}

std::optional<std::string> LabRecorder::runningRecording(const std::string& folder,
                                                         const RecordingLocking& locking) {
    auto newest = newestRecording(folder);
    if (!newest || locking.probe(*newest) != RecordingLocking::Probe::running) return std::nullopt;
    return newest;
}

std::string LabRecorder::start(const LabHeader& header) {
    {
        std::lock_guard guard(lock_);
        file_.reset();
    }
    std::filesystem::create_directories(directory_);
    auto path = directory_ + "/" + fileName(header.label, header.startedAt);
    auto held = locking_.hold(path);
    if (!held) throw LabError::cannotWrite(path);
    auto line = LabFormat::line(LabLine{.header = LabFormat::scrubbed(header)});
    std::lock_guard guard(lock_);
    file_ = std::move(held);
    file_->append(line);
    return path;
}

void LabRecorder::record(const EvidenceFrame& frame, const HoldDecision& decision,
                         std::optional<double> cost) {
    {
        std::lock_guard guard(lock_);
        if (!file_) return;
    }
    std::string line;
    try {
        line = LabFormat::line(LabFormat::sample(frame, decision, cost));
    } catch (const std::exception&) {
        return;
    }
    std::lock_guard guard(lock_);
    if (file_) file_->append(line);
}

void LabRecorder::stop() {
    std::lock_guard guard(lock_);
    file_.reset();
}

void LabRecorder::appendMark(const LabMark& mark, const std::string& path,
                             const RecordingLocking& locking) {
    auto bytes = LabFormat::line(LabLine{.mark = mark});
    switch (locking.appendWhileRunning(path, bytes)) {
        case RecordingLocking::Append::written:
            return;
        case RecordingLocking::Append::cannotOpen:
            throw LabError::cannotWrite(path);
        case RecordingLocking::Append::notRunning:
            throw LabError::noRecording();
    }
}

}  // namespace vigilmoth
