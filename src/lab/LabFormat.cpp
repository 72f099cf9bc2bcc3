#include "lab/LabFormat.h"

#include "lab/LabCoding.h"

namespace vigilmoth::LabFormat {

std::string line(const LabLine& line) {
    nlohmann::json json = nlohmann::json::object();
    if (line.mark) json["mark"] = line.mark->json();
    return LabCoding::text(json) + "\n";
}

}  // namespace vigilmoth::LabFormat
