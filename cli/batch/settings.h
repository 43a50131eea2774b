// (c) the ztrace developers. Licence: see LICENSE.
//
// What can be said of a run over many pictures besides how each of them is traced. The values here
// are the defaults.
#ifndef ZTRACE_CLI_BATCH_SETTINGS_H
#define ZTRACE_CLI_BATCH_SETTINGS_H

#include <string>
#include <vector>

namespace ztrace {

struct BatchSettings
{
    // Pictures.
    bool recursive = false;
    std::vector<std::string> patterns;  // of file names in folders; empty: what images are called
    std::vector<std::string> lists;     // files with a name a line; "-" is standard input
    std::vector<std::string> manifests; // CSV or JSON lines

    // Drawings.
    std::string out;                  // their folder
    std::string names;                // their template; empty: the usual one
    std::vector<std::string> formats; // empty: --format, or the first there is

    // Workers.
    int jobs = 0;                // 0: one a processor
    double memoryLimit = 8192.0; // million bytes a picture; 0: none

    // Order of events.
    bool retryFailed = false;
    bool dryRun = false;
    bool failFast = false;
    std::string results; // where result lines go; empty: into the folder of the drawings

    // What is looked at.
    bool check = true;
    double flagBelow = 0.9; // agreement of picture and drawing, 0 to 1
    std::string report;     // HTML
    std::string csv;
    std::string premis;

    // Several machines.
    int chunk = 1; // of `chunks`
    int chunks = 1;
    int leases = 0; // parts that runs take one after the other; 0: none

    // Folders that pictures come into.
    std::vector<std::string> watch;
};

} // namespace ztrace

#endif
