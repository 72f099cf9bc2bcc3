#pragma once

#include <random>

#include "evidence/EvidenceFrame.h"

namespace vigilmoth::testing {

// Random frames that use every field and the edges of every range, with dates in whole
// milliseconds so that the lab's rounding keeps them.
class FrameGenerator {
public:
    explicit FrameGenerator(unsigned seed) : random_(seed) {}

    EvidenceFrame frame();
    AgentEvidence agent();
    StateReport report();

private:
    bool chance(double probability);
    int integer(int low, int high);
    double anyDouble();
    Date date();
    std::string text();

    std::mt19937_64 random_;
};

}  // namespace vigilmoth::testing
