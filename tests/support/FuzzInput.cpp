#include "support/FuzzInput.h"

#include <iterator>

namespace vigilmoth::testing {

std::string mutatedText(std::string text, std::mt19937& random) {
    static const std::string tokens[] = {"{",
                                         "}",
                                         "[",
                                         "]",
                                         ",",
                                         ":",
                                         "\"",
                                         "null",
                                         "true",
                                         "-",
                                         "1e999",
                                         "-0",
                                         "18446744073709551616",
                                         "\\u0000"};
    std::uniform_int_distribution<int> kind(0, 3);
    for (int changes = std::uniform_int_distribution<int>(1, 4)(random); changes > 0; --changes) {
        if (text.empty()) break;
        std::uniform_int_distribution<std::size_t> position(0, text.size() - 1);
        switch (kind(random)) {
            case 0:
                text[position(random)] = static_cast<char>(random());
                break;
            case 1:
                text.erase(position(random), 1 + random() % 8);
                break;
            case 2:
                text.insert(position(random), tokens[random() % std::size(tokens)]);
                break;
            default:
                text = text.substr(0, position(random));
                break;
        }
    }
    return text;
}

std::string randomBytes(std::mt19937& random, std::size_t longest) {
    std::string bytes(random() % (longest + 1), '\0');
    for (auto& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

}  // namespace vigilmoth::testing
