// Writes to a FileKeyValueStore again and again, so tests can kill it mid-write or race two.
// usage: kv_writer PATH PREFIX COUNT PAYLOAD_BYTES   (COUNT 0 writes forever)
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/linux/FileKeyValueStore.h"

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    vigilmoth::FileKeyValueStore store(argv[1]);
    std::string prefix = argv[2];
    long count = std::atol(argv[3]);
    std::string payload(static_cast<size_t>(std::atol(argv[4])), 'x');
    std::puts("writing");
    std::fflush(stdout);
    for (long i = 0; count == 0 || i < count; ++i) {
        store.set(prefix + std::to_string(count == 0 ? 0 : i),
                  nlohmann::json{{"round", i}, {"payload", payload}});
    }
    return 0;
}
