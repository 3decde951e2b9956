// Paths that must not name the same file: a report or trace written over the
// input would destroy it, two outputs over each other would lose one.
#ifndef NIDMASK_PATH_CHECKS_H
#define NIDMASK_PATH_CHECKS_H

#include <string>
#include <vector>

namespace nidmask {

// A file a run uses: a path given by an option, or a standard stream.
struct FileUse {
    std::string option;     // "INPUT", "-o", "--report", "standard input", ...
    std::string path;       // "" and "-": not a path (nothing to compare) unless fd is set
    int fd = -1;            // a standard stream the run reads or writes, compared by what it is open on
    bool bWritten = false;  // the run writes it (files that are only read may be one file)
};

// Returns a message naming the first two uses that name one regular file
// (same device and inode; for a path that does not exist yet, the same
// resolved path) where at least one of them is written, or "". Devices,
// FIFOs and sockets may be shared. Writing the output over the input is
// allowed (INPUT or standard input with -o): -o replaces the file only once
// the run has succeeded.
std::string SameFileProblem(const std::vector<FileUse>& uses);

}  // namespace nidmask

#endif
