#include <string>
#include <vector>

#include "app/Main.h"

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv, argv + argc);
    return vigilmoth::Main::main(arguments);
}
