/*
 * Types shared by the engine and linker C interfaces: statuses, input types,
 * pixel formats and the texture records that cross the boundary.
 *
 * These headers are a plain C interface. A host may implement its own engine
 * against them; the library never sees anything but what is declared here.
 */
#ifndef PLATFORM_ENGINE_ENGINETYPES_H
#define PLATFORM_ENGINE_ENGINETYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Interface version and engine identifier handed to the context constructors. */
enum {
    SubstanceApiVersion = 0x10001, /* the only version this interface speaks */
    SubstanceCpuEngineId = 19      /* the multithreaded CPU evaluator */
};

/* Every call returns 0 on success and one of these otherwise. */
typedef enum SubstanceStatus {
    SubstanceStatus_Ok = 0,
    SubstanceStatus_InvalidArgument = 1, /* null pointer, bad index, unknown flag or kind */
    SubstanceStatus_InvalidData = 2,     /* malformed package or assembly */
    SubstanceStatus_LimitExceeded = 3,   /* a size, count or depth beyond the published limits */
    SubstanceStatus_UnknownUid = 4,      /* no input or output carries this UID */
    SubstanceStatus_Incompatible = 5,    /* type mismatch: wrong value type, non-image input connected */
    SubstanceStatus_Cycle = 6,           /* connections would make a cycle */
    SubstanceStatus_BadVersion = 7,      /* API version, engine identifier or format version unsupported */
    SubstanceStatus_InvalidState = 8,    /* call out of order, e.g. linking with nothing pushed */
    SubstanceStatus_OutOfMemory = 9      /* an allocation failed */
} SubstanceStatus;

/* Value type of an input (the InputType code of the package description). */
typedef enum SubstanceInputType {
    SubstanceInputType_Float = 0,
    SubstanceInputType_Float2 = 1,
    SubstanceInputType_Float3 = 2,
    SubstanceInputType_Float4 = 3,
    SubstanceInputType_Integer = 4,
    SubstanceInputType_Image = 5,
    SubstanceInputType_Integer2 = 8,
    SubstanceInputType_Integer3 = 9,
    SubstanceInputType_Integer4 = 10
} SubstanceInputType;

/*
 * Pixel formats of output textures. The low bits name the layout; the value
 * SubstancePixelFormat_Flag (32) may be or-ed onto RGBA8 to mark texels that
 * hold sRGB-encoded colour, so 0 and 32 are both 8-bit RGBA.
 */
typedef enum SubstancePixelFormat {
    SubstancePixelFormat_RGBA8 = 0,
    SubstancePixelFormat_RGBx8 = 4, /* alpha byte present, always 255 */
    SubstancePixelFormat_RGB8 = 8,
    SubstancePixelFormat_L8 = 12,
    SubstancePixelFormat_RGBA16 = 16,
    SubstancePixelFormat_RGBx16 = 20,
    SubstancePixelFormat_RGB16 = 24,
    SubstancePixelFormat_L16 = 28,
    SubstancePixelFormat_RGBA32F = 1,
    SubstancePixelFormat_RGBA16F = 5,
    SubstancePixelFormat_RGB16F = 9,
    SubstancePixelFormat_L16F = 13,
    SubstancePixelFormat_L32F = 17,
    SubstancePixelFormat_Flag = 32
} SubstancePixelFormat;

/* Channel order of a texture's texels; this engine always writes RGBA order. */
enum { SubstanceChannelOrder_RGBA = 0 };

/*
 * An output texture (16 bytes). Levels follow one another from the full-size
 * level down, each with tightly packed rows. The buffer belongs to whoever got
 * the record and is released with substanceContextMemoryFree on the context
 * that produced it.
 */
typedef struct SubstanceTexture {
    void* buffer;
    uint16_t level0Width;
    uint16_t level0Height;
    uint8_t pixelFormat;   /* SubstancePixelFormat */
    uint8_t channelsOrder; /* SubstanceChannelOrder_* */
    uint8_t mipmapCount;   /* number of levels in the buffer, at least 1 */
} SubstanceTexture;

/*
 * Value of an image input: a texture in one of the formats above (only the
 * full-size level is read). The engine copies the texels when the value is
 * pushed, so the record and its buffer need not outlive the push.
 */
typedef struct SubstanceTextureInput {
    SubstanceTexture texture;
} SubstanceTextureInput;

/* Generic callback pointer: cast to the callback type that the kind names. */
typedef void (*SubstanceCallback)(void);

#ifdef __cplusplus
}
#endif

#endif
