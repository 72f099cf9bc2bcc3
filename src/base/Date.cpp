#include "base/Date.h"

#include <chrono>

namespace vigilmoth {

Date Date::now() {
    using namespace std::chrono;
    return Date(duration<double>(system_clock::now().time_since_epoch()).count());
}

}  // namespace vigilmoth
