#pragma once

#include <stddef.h>
#include <stdint.h>

/*
 * What an image decoder plug-in exports: a DLL in Plugins\Quillmont\ImageDecoder beside
 * Terrascope.dll, loaded when Terrascope.ini says CODECS=1. Plain C: any compiler will do, and
 * nothing is allocated on one side and freed on the other.
 *
 * Threads: all functions are called by several threads at once.
 * Errors:  shown by the result 0; the library then asks the next decoder, and at last GDI+. No
 *          C++ exception may leave a function; one that does counts as 0 if the decoder was built
 *          with the library's compiler, and may end the process if not.
 */

/** The version of this interface; a decoder of another version is not used. */
#define TERRASCOPE_IMAGE_DECODER_VERSION 1

/** The size of an image in pixels. */
typedef struct TerrascopeImageSize {
    uint32_t width;
    uint32_t height;
} TerrascopeImageSize;

/**
 * Where the pixels go: 4 bytes each, blue, green, red, alpha (not multiplied into the colours;
 * 255 is opaque), rows from the top. Row y begins at pixels + y * stride, and no byte at or beyond
 * pixels + byteCount may be touched.
 */
typedef struct TerrascopeImageRows {
    uint8_t* pixels;
    size_t byteCount;
    size_t stride; /* bytes, at least 4 * width */
    uint32_t width;
    uint32_t height;
} TerrascopeImageRows;

/** "TerrascopeDecoderVersion": TERRASCOPE_IMAGE_DECODER_VERSION of the header it was built with. */
typedef int32_t (*TerrascopeDecoderVersionFunction)(void);

/**
 * "TerrascopeDescribeImage": whether this decoder takes the image file, and then its size. Decides
 * by the first bytes and decodes nothing. The library has its own limit for sizes, and where it
 * knows the format it compares the size with the one that it read itself.
 */
typedef int32_t (*TerrascopeDescribeImageFunction)(const uint8_t* file, size_t fileBytes,
                                                   TerrascopeImageSize* size);

/**
 * "TerrascopeDecodeImage": decodes a file that TerrascopeDescribeImage has taken, all of its
 * pixels, into rows of the size that it named. The pixels do not matter when the result is 0.
 */
typedef int32_t (*TerrascopeDecodeImageFunction)(const uint8_t* file, size_t fileBytes,
                                                 const TerrascopeImageRows* rows);
