// (c) the ztrace developers. Licence: see LICENSE.
//
// The pictures of a run and what their drawings are called.
#ifndef ZTRACE_CLI_BATCH_NAMES_H
#define ZTRACE_CLI_BATCH_NAMES_H

#include <string>
#include <utility>
#include <vector>

#include "cli/pages.h"

namespace ztrace {

// A setting by the name of its option, with what was said of it.
typedef std::pair<std::string, std::string> Said;

// What becomes of a picture.
enum class ItemKind {
    Alone, // drawings of its own
    Page, // the same, but for formats that hold pages: those get it with the other ones of the file
    Book  // no picture: all those pages, in one drawing
};

// One picture: a page of a file.
struct Item
{
    ItemKind kind = ItemKind::Alone;
    std::string path;   // of the file, in bytes
    std::string folder; // that {folder} stands for, without a slash at either end
    int page = 1;       // 0: several, of a book or as long as they have not been counted
    int pages = 1; // of this file that the run takes at most; more than one get numbers; 0: they
                   // could not be counted, the first one is to say why
    PageRanges ranges;          // that are wanted where the page is, or was, 0
    std::string sha256;         // that the file should have, in small letters; empty: any
    std::vector<Said> settings; // of this picture alone
};

const char kUsualNames[] = "{folder}/{name}.{format}";

// Whether a template that was given tells pages of a file apart.
bool namesPages(const std::string &pattern);

// The template, or the usual one, with the pictures' own endings in the names; empty where it has
// them.
std::string withSuffixes(const std::string &pattern);

// Throws a Failure for a template with unknown names in braces, without {name}, or that leads out
// of the folder.
void checkTemplate(const std::string &pattern);

// The ending of all drawings that a template has, of a format's; empty where {format} stands.
// Throws a Failure for any other.
std::string endingOf(const std::string &pattern);

// The file for a drawing below the folder of all drawings: the template with {folder}, {name} and
// {suffix} of the picture, {page} with as many digits as the last one has, and {format} filled in.
// An empty template is the usual one. A page of several has its number before the ending also where
// the template has no {page}. An empty folder leaves no slash; no name leads out of the
// folder.
std::string outputNameOf(const Item &item, const std::string &pattern,
                         const std::string &suffixOfFormat);

} // namespace ztrace

#endif
