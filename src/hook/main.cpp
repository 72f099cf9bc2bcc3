#include <string>
#include <vector>

#include "hook/HookPlatform.h"

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    return vigilmoth::HookPlatform::main(arguments);
}
