#pragma once

namespace vigilmoth {

// Raises this process's soft limit of open files to its hard limit; false when it stays lower. The
// census keeps three files open per process between ticks; under a desktop's usual soft limit of
// 1024 a few hundred processes would not fit, and every tick would open and close them again.
bool raiseOpenFileLimit();

}  // namespace vigilmoth
