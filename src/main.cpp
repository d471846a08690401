#include <csignal>
#include <new>

#include "cli/dispatch.hpp"
#include "console/messages.hpp"
#include "journal/journal_store.hpp"
#include "preview/dry_run.hpp"
#include "storage/file_store.hpp"

// The dispatcher's -1 becomes exit status 255; check's 1 (errors found) stays 1.
int main(int argc, char** argv) {
    // Past the file-size limit a write must fail and be reported, not kill the process
    // between the two passes of an edit.
    std::signal(SIGXFSZ, SIG_IGN);
    int result = -1;
    try {
        result = orv::orvconfigMain(argc, argv);
    } catch (const orv::LockFailure& failure) {
        // Another run kept the file locked too long (or it cannot be locked): nothing of
        // that edit was written, and the run stops before any further change.
        orv::alertI18nWithParameter(failure.timedOut
                                        ? "Timed out waiting for another run to release file %s."
                                        : "Cannot lock file %s.",
                                    failure.path);
    } catch (const std::bad_alloc&) {
        // A file too large to edit in memory: its new text is built before anything is
        // written, so that file is as it was; the run fails instead of aborting.
        orv::alertI18n(orv::kCommandFailedMessage);
    }
    orv::printDryRunReport();
    // A check that found errors ends with status 1, its findings printed.
    if (result == 1 && !orv::anyWriteFailed()) return 1;
    // A file that could not be written fails the run, also where a command goes on past
    // the failed edit.
    const int status = result == 0 && !orv::anyWriteFailed() ? 0 : 255;
    orv::finishJournal(status);
    return status;
}
