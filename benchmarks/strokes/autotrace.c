/* (c) the ztrace developers. Licence: see LICENSE.
 *
 * A command line around autotrace's library, as Inkscape carries it: `autotrace IN.pgm OUT.svg`
 * traces centre lines with the library's own settings and writes them as paths. A peer to compare
 * with, a program of its own: autotrace.sh compiles it against the sources of Debian's package.
 *
 * Points are in pixels whose centres are whole numbers, y downwards.
 * Exit status: 0 done, 1 nothing traced, 2 wrong usage, 3 input unreadable, 4 output not writable.
 */
#include "autotrace.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static at_bitmap *readPgm(const char *path)
{
    FILE *file = fopen(path, "rb");
    if (!file)
        return NULL;
    unsigned width = 0, height = 0, top = 0;
    at_bitmap *bitmap = NULL;
    if (fscanf(file, "P5 %u %u %u", &width, &height, &top) == 3 && fgetc(file) != EOF && top == 255
        && width < 65536 && height < 65536) {
        bitmap = at_bitmap_new((unsigned short)width, (unsigned short)height, 1);
        if (fread(bitmap->bitmap, width, height, file) != height) {
            at_bitmap_free(bitmap);
            bitmap = NULL;
        }
    }
    fclose(file);
    return bitmap;
}

static void writePath(FILE *out, const at_spline_list_type *path, double top)
{
    if (path->length == 0)
        return;
    const at_real_coord first = path->data[0].v[0];
    fprintf(out, "<path d=\"M%.4f %.4f", first.x, top - first.y);
    for (unsigned i = 0; i < path->length; ++i) {
        const at_real_coord *v = path->data[i].v;
        if (path->data[i].degree == AT_LINEARTYPE)
            fprintf(out, "L%.4f %.4f", v[3].x, top - v[3].y);
        else
            fprintf(out, "C%.4f %.4f %.4f %.4f %.4f %.4f", v[1].x, top - v[1].y, v[2].x,
                    top - v[2].y, v[3].x, top - v[3].y);
    }
    fprintf(out, "%s\"/>\n", path->open ? "" : "z");
}

int main(int count, char **words)
{
    if (count != 3) {
        fprintf(stderr, "usage: autotrace IN.pgm OUT.svg\n");
        return 2;
    }
    at_bitmap *bitmap = readPgm(words[1]);
    if (!bitmap) {
        fprintf(stderr, "%s: no grey picture\n", words[1]);
        return 3;
    }
    const double top = bitmap->height - 1.0;
    at_fitting_opts_type *options = at_fitting_opts_new();
    options->centerline = TRUE;
    at_splines_type *splines
        = at_splines_new_full(bitmap, options, NULL, NULL, NULL, NULL, NULL, NULL);
    if (!splines)
        return 1;
    FILE *out = fopen(words[2], "w");
    if (!out) {
        fprintf(stderr, "%s: not writable\n", words[2]);
        return 4;
    }
    fprintf(out, "<svg xmlns=\"http://www.w3.org/2000/svg\">\n");
    for (unsigned i = 0; i < splines->length; ++i)
        writePath(out, &splines->data[i], top);
    fprintf(out, "</svg>\n");
    return fclose(out) == 0 ? 0 : 4;
}
