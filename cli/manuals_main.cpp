// (c) the ztrace developers. Licence: see LICENSE.
//
// Writes what is made from the table of options to standard output: ztrace-manuals man, bash, zsh,
// or markdown with the document to be made anew on standard input. For developers; not installed.
#include "manuals.h"

#include <cstdio>
#include <iostream>
#include <iterator>

int main(int argc, char **argv)
{
    const std::string what = argc == 2 ? argv[1] : "";
    std::string error;
    std::string text;
    if (what == "man")
        text = ztrace::manPage();
    else if (what == "bash")
        text = ztrace::bashCompletion();
    else if (what == "zsh")
        text = ztrace::zshCompletion();
    else if (what == "markdown")
        text
            = ztrace::withTables(std::string(std::istreambuf_iterator<char>(std::cin), {}), &error);
    else
        error = "one of man, bash, zsh and markdown is needed";
    if (!error.empty()) {
        std::fprintf(stderr, "ztrace-manuals: %s\n", error.c_str());
        return 2;
    }
    std::cout << text << std::flush;
    return std::cout ? 0 : 4;
}
