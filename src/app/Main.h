#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vigilmoth {

// How the entry meets other running copies of the application; the platform fills it in.
struct CopyCoordination {
    // The process ids of the other running copies, in the platform's order.
    std::function<std::vector<int>()> otherCopies;
    // Asks the running copy to show its preferences ("com.vigilmoth.app.showPreferences").
    std::function<void()> postShowPreferences;
    std::function<void(int pid)> activate;
    std::function<void(double seconds)> sleep;
};

class Main {
public:
    // The whole program: classify the command line and act. Returns the exit status.
    static int main(const std::vector<std::string>& arguments);

    // True when another copy is still running after up to 5 seconds of polling; that copy has
    // then been asked to come forward. A copy that is just quitting gets those seconds to go.
    static bool anotherCopyStaysRunning(const CopyCoordination& coordination);
};

}  // namespace vigilmoth
