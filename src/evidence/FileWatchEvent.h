#pragma once

namespace vigilmoth {

// What a file watch reports: the file was written, another file took its place (an atomic
// save, or the file came back after it was gone), or it went away.
enum class FileWatchEvent { written, replaced, removed };

}  // namespace vigilmoth
