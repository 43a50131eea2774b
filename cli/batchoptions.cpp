// (c) the ztrace developers. Licence: see LICENSE.
#include "batchoptions.h"

#include "ownvalues.h"

#include <limits>

namespace ztrace {

namespace {

const int kMostJobs = 1024;
const double kMostMegabytes = std::numeric_limits<double>::max();

// Of "/" it stays.
std::string withoutLastSlashes(const std::string &name)
{
    const std::size_t last = name.find_last_not_of('/');
    return last == std::string::npos ? name.substr(0, 1) : name.substr(0, last + 1);
}

} // namespace

std::vector<Entry> batchOptions()
{
    const auto file = [](const char *placeholder, TextStore store) {
        return fileName(placeholder, "*", store);
    };
    std::vector<Entry> entries = {
        Entry("out",
              file("DIR",
                   [](Settings &s, const std::string &t) { s.batch.out = withoutLastSlashes(t); }))
            .help("Folder of the drawings, which is made when it is not there"),
        Entry("names",
              file("TEMPLATE", [](Settings &s, const std::string &t) { s.batch.names = t; }))
            .help("Names of the drawings below that folder: `{folder}`, `{name}` and `{suffix}` "
                  "are the picture's, `{page}` is its number and `{format}` the drawing's ending")
            .manual(
                "Without it `{folder}/{name}.{format}`. Where a file has several pages, `-{page}` "
                "stands before the ending if the template has no `{page}`. The folder is that of "
                "the picture below the "
                "folder that was named, or the one that a list or manifest says. A PDF has all "
                "pages of its file, and no number, unless `--names` has `{page}`"),
        Entry("formats", formatNames())
            .help("Formats of the drawings, with commas between them; without it that of "
                  "`--format`"),
        Entry("recursive", flag([](Settings &s, bool on) { s.batch.recursive = on; }))
            .help("Folders in folders as well")
            .manual("A folder is visited once, whatever links lead to it"),
        Entry(
            "pattern",
            file("GLOB", [](Settings &s, const std::string &t) { s.batch.patterns.push_back(t); }))
            .several()
            .help("Take files of folders whose names are like this, as shells have it; may be "
                  "given several times. Without it names that end as those of images do"),
        Entry("files-from",
              file("FILE", [](Settings &s, const std::string &t) { s.batch.lists.push_back(t); }))
            .several()
            .help("Take the pictures that a file names, one a line or with zero bytes between "
                  "them; `-` is standard input"),
        Entry(
            "manifest",
            file("FILE", [](Settings &s, const std::string &t) { s.batch.manifests.push_back(t); }))
            .several()
            .help("Take the pictures of a CSV file or JSON lines: `path`, and as wanted `page`, "
                  "`settings` and `sha256`"),
        Entry("jobs", 'j',
              wholeNumberOr("N|auto", { "auto", 0 }, 1, kMostJobs,
                            [](Settings &s, int jobs) { s.batch.jobs = jobs; })
                  .offering({ "1", "2", "4", "8" }))
            .standard("auto")
            .help("Processes that trace; `auto` is one a processor"),
        Entry("memory-limit",
              number("MB", 0.0, kMostMegabytes,
                     [](Settings &s, double millions) { s.batch.memoryLimit = millions; }))
            .standard("8192")
            .help("Millions of bytes that a picture may take; 0 is no limit"),
        Entry("retry",
              oneOf<bool>("WHICH", { { "failed", true } },
                          [](Settings &s, bool failed) { s.batch.retryFailed = failed; }))
            .help("`failed` traces pictures again that an earlier run could not"),
        Entry("dry-run", flag([](Settings &s, bool on) { s.batch.dryRun = on; }))
            .help("Say what would be done, and do nothing"),
        Entry("fail-fast", flag([](Settings &s, bool on) { s.batch.failFast = on; }))
            .help("End with the first picture that fails"),
        Entry("results",
              file("FILE", [](Settings &s, const std::string &t) { s.batch.results = t; }))
            .help("Where result lines go; without it `ztrace-results.jsonl` in the folder of the "
                  "drawings"),
        Entry("no-check", flag([](Settings &s, bool on) { s.batch.check = !on; }))
            .help("Do not draw the drawing again to compare it with its picture"),
        Entry("flag-below",
              number("F", 0.0, 1.0, [](Settings &s, double share) { s.batch.flagBelow = share; }))
            .standard("0.9")
            .help("Flag pictures whose drawings agree with them less than this"),
        Entry("chunk", chunkOfChunks())
            .help("Take one part of several, `1/2` or `2/2`, for several machines; which picture "
                  "is in which part follows from its name alone"),
        Entry("leases",
              wholeNumberOr("N|none", { "none", 0 }, 2, kMostChunks,
                            [](Settings &s, int parts) { s.batch.leases = parts; })
                  .offering({ "16", "64" }))
            .standard("none")
            .help("Divide the pictures into `N` parts and take one after the other, beside other "
                  "runs with the same words and the same folder of drawings"),
        Entry("watch",
              file("DIR", [](Settings &s, const std::string &t) { s.batch.watch.push_back(t); }))
            .several()
            .help("Go on until SIGTERM with the pictures that come into a folder, each when its "
                  "size has been the same for a second"),
        Entry("report", file("FILE", [](Settings &s, const std::string &t) { s.batch.report = t; }))
            .help("Write a report to look at, one HTML file"),
        Entry("csv", file("FILE", [](Settings &s, const std::string &t) { s.batch.csv = t; }))
            .help("Write the results as a table for spreadsheets; also of `summary`"),
        Entry("premis", file("FILE", [](Settings &s, const std::string &t) { s.batch.premis = t; }))
            .help("Write the results as PREMIS events, in XML; also of `summary`"),
    };
    for (Entry &entry : entries)
        entry.place(Place::CommandLine).commandOnly();
    return entries;
}

} // namespace ztrace
