// Paths that must not name the same file: a report or trace written over the
// input would destroy it, two outputs over each other would lose one.
#ifndef NIDMASK_PATH_CHECKS_H
#define NIDMASK_PATH_CHECKS_H

#include <string>
#include <utility>
#include <vector>

namespace nidmask {

// The options' paths as (option, path) pairs; "" and "-" are the standard
// streams and never clash. Returns a message naming the first two that name
// one file (same device and inode; for a path that does not exist yet, the
// same resolved path), or "". Character devices (/dev/null) may be shared.
// The pair (INPUT, -o) is allowed: the output replaces the input only once
// the run has succeeded.
std::string SameFileProblem(const std::vector<std::pair<std::string, std::string>>& paths);

}  // namespace nidmask

#endif
