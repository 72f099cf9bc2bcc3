// Holds an exclusive flock on a file, as a recorder does, until it is killed.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    int descriptor = ::open(argv[1], O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (descriptor < 0 || ::flock(descriptor, LOCK_EX | LOCK_NB) != 0) return 1;
    std::printf("locked\n");
    std::fflush(stdout);
    for (;;)
        ::pause();
}
