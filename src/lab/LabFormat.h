#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/JSONCoding.h"
#include "decision/DetectionSettings.h"
#include "decision/HoldPolicy.h"
#include "evidence/EvidenceFrame.h"
#include "lab/LabMark.h"

namespace vigilmoth {

// What a recording was made with.
struct LabHeader {
    std::string label;
    Date startedAt;
    std::string app;
    std::string os;
    std::string model;
    std::int64_t catalog = 5;
    std::int64_t frameVersion = 1;
    // An AwakeMode case name; kept as text so that an unknown one still reads.
    std::string mode;
    DetectionSettings settings;
    std::optional<double> wronglyHeldBudget = std::nullopt;

    bool operator==(const LabHeader&) const = default;
};

// What the rules concluded about one agent instance in one sample.
struct LabVerdict {
    std::string id;
    std::int32_t pid = 0;
    ReportedState state = ReportedState::idle;
    std::string why;
    // "working", "waiting", "finished" or "open"; absent when the agent does not hold.
    std::optional<std::string> hold = std::nullopt;

    bool operator==(const LabVerdict&) const = default;
};

// The hold decision of one sample.
struct LabHold {
    bool on = false;
    bool lid = false;
    std::string headline;

    bool operator==(const LabHold&) const = default;
};

// One line of a recording; which fields are present makes the line's kind.
struct LabLine {
    std::optional<LabHeader> header = std::nullopt;
    std::optional<LabMark> mark = std::nullopt;
    std::optional<EvidenceFrame> frame = std::nullopt;
    std::optional<std::vector<LabVerdict>> verdicts = std::nullopt;
    std::optional<LabHold> hold = std::nullopt;
    // The sample's cost in milliseconds, to two decimals.
    std::optional<double> ms = std::nullopt;

    bool operator==(const LabLine&) const = default;
};

struct LabSample {
    EvidenceFrame frame;
    std::vector<LabVerdict> verdicts;
    std::optional<LabHold> hold = std::nullopt;
    std::optional<double> ms = std::nullopt;

    bool operator==(const LabSample&) const = default;
};

// A whole recording as read back: samples in file order, marks sorted by time.
struct LabRecording {
    std::optional<LabHeader> header = std::nullopt;
    std::vector<LabSample> samples;
    std::vector<LabMark> marks;

    bool operator==(const LabRecording&) const = default;
};

OrderedJSON encodeJSON(const LabHeader& header, const JSONEncoder& encoder);
OrderedJSON encodeJSON(const LabVerdict& verdict, const JSONEncoder& encoder);
OrderedJSON encodeJSON(const LabHold& hold, const JSONEncoder& encoder);
OrderedJSON encodeJSON(const LabLine& line, const JSONEncoder& encoder);
template <>
LabHeader decodeJSON<LabHeader>(const nlohmann::json& value);
template <>
LabVerdict decodeJSON<LabVerdict>(const nlohmann::json& value);
template <>
LabHold decodeJSON<LabHold>(const nlohmann::json& value);
template <>
LabLine decodeJSON<LabLine>(const nlohmann::json& value);

namespace LabFormat {

// Sorted keys, slashes as they are, dates in whole milliseconds.
JSONEncoder encoder();
// The line's JSON text and one line feed. Throws what the encoder throws.
std::string line(const LabLine& line);

// A sample line from one tick: the frame as seen, and the live decision as made, with the
// cost in seconds when it is known.
LabLine sample(const EvidenceFrame& frame, const HoldDecision& decision,
               std::optional<double> cost);
// The word a sample line writes for why an agent holds the Mac.
std::string_view holdWord(HoldCause cause);

// Recordings carry no file-system paths: user-named agents are known by their executable's.
std::string withoutPath(std::string_view text);
EvidenceFrame scrubbed(EvidenceFrame frame);
LabHeader scrubbed(LabHeader header);

// Reads a whole file's text. A torn last line is dropped, as a running recording may end in
// one; any other unreadable line throws LabError::unreadableLine with its number.
LabRecording recording(std::string_view text);
LabRecording recording(std::istream& input);
// The sample a line carries when it has a frame, its parts moved out of the line.
std::optional<LabSample> takeSample(LabLine& line);

}  // namespace LabFormat

// Decodes a recording one line at a time, so that a day-long file never sits in memory whole:
// only the line being read is held. Its bytes are taken as UTF-8, each invalid sequence
// replaced, as the recorder's own names were.
class LabLineReader {
public:
    explicit LabLineReader(std::istream& input) : input_(input) {}

    // The next line that decodes; none at the end. A torn last line ends the recording, as a
    // running one may end in it; any other unreadable line throws LabError::unreadableLine
    // with its number, counting non-empty lines from 1. Whether the input ended or failed is
    // the stream's to tell.
    std::optional<LabLine> next();

private:
    // Moves to the next non-empty line; false at the end of the input.
    bool advance();

    std::istream& input_;
    std::string text_;
    int number_ = 0;
};
}  // namespace vigilmoth
