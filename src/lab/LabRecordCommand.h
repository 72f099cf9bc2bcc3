#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Calendar.h"
#include "decision/DetectionSample.h"
#include "lab/LabContext.h"

// --lab-record [label]: runs the live detection loop without the interface, appending every
// sample to a new recording and printing one status line for it, until SIGINT or SIGTERM.
namespace vigilmoth::LabRecordCommand {

bool run(const std::vector<std::string>& parameters, LabContext& context);

// "HH:mm:ss.SSS hold=yes 1.23ms | claude:4711 working (hook.working) holds:working | ..."
std::string statusLine(const DetectionSample& sample, const Calendar& calendar = {});

struct Totals {
    std::string path;
    // Seconds each sample cost.
    std::vector<double> costs;
    double seconds = 0;
    double cpuSeconds = 0;
    std::uintmax_t fileBytes = 0;
};
std::string summary(Totals totals);

}  // namespace vigilmoth::LabRecordCommand
