#include "platform/posix/OpenFileLimit.h"

#include <sys/resource.h>

namespace vigilmoth {

bool raiseOpenFileLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return false;
    if (limit.rlim_cur < limit.rlim_max) {
        rlimit raised = limit;
        raised.rlim_cur = limit.rlim_max;
        // macOS refuses an unlimited soft limit; the old one then stays.
        if (::setrlimit(RLIMIT_NOFILE, &raised) == 0) limit = raised;
    }
    return limit.rlim_cur == limit.rlim_max;
}

}  // namespace vigilmoth
