// (c) the ztrace developers. Licence: see LICENSE.
//
// What the imaging library calls to read and write files of images, in place of its own.
//
// Its archive holds two hundred modules that refer to each other: what is used here leads by way of
// drawings for its own debugging to all of its image formats, and so to ten libraries, which take
// two of the ten milliseconds that the command needs to start. Nothing here has it read or write a
// file. Where its archive is linked (CMakeLists.txt), these stand for its own functions: none reads
// or writes anything, and each says so as the library's do where a format is left out.
#include "leptonicafiles.h"

#include <leptonica/allheaders.h>

l_int32 LeptDebugOK = 0; // none of its drawings for debugging

extern "C" {

// Not in its headers; its module of image formats has them for the others.
extern const char *ImageFileFormatExtensions[];
extern l_int32 NumImageFileFormatExtensions;
const char *ImageFileFormatExtensions[] = { "unknown" };
l_int32 NumImageFileFormatExtensions = 1;

PIX *pixRead(const char *)
{
    return nullptr;
}

PIX *pixReadMem(const l_uint8 *, size_t)
{
    return nullptr;
}

PIX *pixReadStreamPng(FILE *)
{
    return nullptr;
}

l_ok pixReadHeaderMem(const l_uint8 *, size_t, l_int32 *, l_int32 *, l_int32 *, l_int32 *,
                      l_int32 *, l_int32 *)
{
    return 1;
}

PIXA *pixaReadFiles(const char *, const char *)
{
    return nullptr;
}

PIXA *pixaReadFilesSA(SARRAY *)
{
    return nullptr;
}

l_ok findFileFormat(const char *, l_int32 *)
{
    return 1;
}

l_ok pixWrite(const char *, PIX *, l_int32)
{
    return 1;
}

l_ok pixWriteDebug(const char *, PIX *, l_int32)
{
    return 1;
}

l_ok pixWriteMem(l_uint8 **, size_t *, PIX *, l_int32)
{
    return 1;
}

l_ok pixWriteStreamPng(FILE *, PIX *, l_float32)
{
    return 1;
}

l_ok pixaWriteFiles(const char *, PIXA *, l_int32)
{
    return 1;
}

l_ok pixDisplay(PIX *, l_int32, l_int32)
{
    return 1;
}

l_ok l_fileDisplay(const char *, l_int32, l_int32, l_float32)
{
    return 1;
}

l_ok convertFilesToPdf(const char *, const char *, l_int32, l_float32, l_int32, l_int32,
                       const char *, const char *)
{
    return 1;
}

l_ok pixaConvertToPdf(PIXA *, l_int32, l_float32, l_int32, l_int32, const char *, const char *)
{
    return 1;
}

l_ok pixConvertToPdfData(PIX *, l_int32, l_int32, l_uint8 **, size_t *, l_int32, l_int32, l_int32,
                         const char *, L_PDF_DATA **, l_int32)
{
    return 1;
}

l_ok cidConvertToPdfData(L_COMP_DATA *, const char *, l_uint8 **, size_t *)
{
    return 1;
}

l_ok ptraConcatenatePdfToData(L_PTRA *, SARRAY *, l_uint8 **, size_t *)
{
    return 1;
}

l_ok selectDefaultPdfEncoding(PIX *, l_int32 *)
{
    return 1;
}

L_COMP_DATA *l_generateJpegDataMem(l_uint8 *, size_t, l_int32)
{
    return nullptr;
}

l_uint8 *zlibCompress(const l_uint8 *, size_t, size_t *)
{
    return nullptr;
}

l_uint8 *zlibUncompress(const l_uint8 *, size_t, size_t *)
{
    return nullptr;
}

} // extern "C"

void ztrace::leaveOutFiles() { }
