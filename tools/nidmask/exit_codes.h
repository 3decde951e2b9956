// nidmask's exit statuses.
#ifndef NIDMASK_EXIT_CODES_H
#define NIDMASK_EXIT_CODES_H

namespace nidmask {

enum ExitCode : int {
    kExitOk = 0,          // every row served (masked, NULL, empty, blank or passed through on request)
    kExitRowsFailed = 1,  // rows were rejected, or left unserved when the error limit stopped the run
    kExitUsage = 2,       // bad command line
    kExitProvider = 3,    // the provider could not be loaded, Init failed, Service returned a message number,
                          // or a worker process (--jobs) died
    kExitIo = 4           // input or output error (files, CSV syntax, values the column cannot hold, database)
};

}  // namespace nidmask

#endif
