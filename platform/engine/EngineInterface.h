/*
 * The engine's C interface: contexts, handles on linked assemblies, input and
 * output pushes, rendering and texture hand-over.
 *
 * Life cycle: a context (substanceContextInit) owns the callbacks and the
 * memory of every texture it hands out. A handle (substanceHandleInit) loads
 * one linked assembly and keeps the current input values. A render is:
 * push input values, push the wanted outputs, start; the output-completed
 * callback fires once per finished output, and substanceHandleGetOutputs
 * hands the texture over.
 *
 * Threading: calls on one handle must be serialised by the caller; the
 * output-completed callback may run on any engine thread, but never twice at
 * once for the same handle.
 */
#ifndef PLATFORM_ENGINE_ENGINEINTERFACE_H
#define PLATFORM_ENGINE_ENGINEINTERFACE_H

#include "platform/engine/EngineTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct SubstanceContext_ SubstanceContext;
typedef struct SubstanceHandle_ SubstanceHandle;

/* Hardware description handed to the context (one pointer-sized word); the CPU engine ignores it. */
typedef struct SubstanceDevice {
    void* platformData;
} SubstanceDevice;

/* Optional resources and budget for a handle; pass null, or 0 in a field, for the defaults. A render
 * past the budget is refused before it allocates anything (SubstanceStatus_LimitExceeded). */
typedef struct SubstanceHardResources {
    unsigned int threadCount;    /* worker threads; 0 means the environment variable KV_ENGINE_THREADS
                                    when it is a whole number from 1 up, else one per hardware thread */
    unsigned int maxTextureSide; /* largest width or height rendered, in texels; 0: 8192 */
    size_t maxRenderBytes;       /* peak memory of one render's images; 0: half the memory, 1 GiB at least */
} SubstanceHardResources;

/* Callback kinds for substanceContextSetCallback. */
enum {
    /* SubstanceCallbackOutputCompleted: one output of a started render is ready. */
    SubstanceCallback_OutputCompleted = 2
};

/* handle: the rendering handle; outputIndex: engine index of the output;
 * jobUserData: the value given with the output to substanceHandlePushOutputs. */
typedef void (*SubstanceCallbackOutputCompleted)(SubstanceHandle* handle, unsigned int outputIndex,
                                                 size_t jobUserData);

/* Flags of substanceHandlePushSetInput and substanceHandlePushOutputs. */
enum {
    /* Outputs are named by UID (without it, by engine index). */
    SubstancePush_OutputsByUid = 2,
    /* A hint: a value or output likely wanted by a later render. A hint is
     * validated like any push but never changes the current values or the
     * render queue; an engine that renders ahead may use it. */
    SubstancePush_Hint = 2048
};

/* Modes of substanceHandleStart. */
enum {
    SubstanceStart_Synchronous = 0 /* render everything queued before returning */
};

/* Counts of a loaded assembly. */
typedef struct SubstanceDataDesc {
    unsigned int inputsCount;
    unsigned int outputsCount;
    unsigned int formatVersion; /* version of the assembly format that was loaded */
} SubstanceDataDesc;

/* One input of a loaded assembly. identifier stays valid while the handle lives. */
typedef struct SubstanceInputDesc {
    unsigned int inputId;   /* UID */
    unsigned int inputType; /* SubstanceInputType */
    unsigned int index;     /* engine index, 0 .. inputsCount-1 */
    const char* identifier;
    union {
        float f[4];
        int i[4];
    } defaultValue; /* unused for images */
} SubstanceInputDesc;

/* One output of a loaded assembly. identifier stays valid while the handle lives. */
typedef struct SubstanceOutputDesc {
    unsigned int outputId; /* UID */
    unsigned int index;    /* engine index, 0 .. outputsCount-1 */
    int format;            /* SubstancePixelFormat */
    unsigned int mipmaps;  /* requested levels: 0 for the full chain, n for at most n */
    unsigned int channel;  /* channel usage index (0 "diffuse" .. 25) */
    const char* identifier;
} SubstanceOutputDesc;

/* Creates a context. device may be null. */
int substanceContextInit(SubstanceContext** context, SubstanceDevice* device);
/* Sets (or, with a null callback, clears) the callback of the given kind. */
int substanceContextSetCallback(SubstanceContext* context, unsigned int kind, SubstanceCallback callback);
/* Releases a context. Its handles must have been released before. */
int substanceContextRelease(SubstanceContext* context);
/* Frees a texture buffer handed out by a handle of this context. */
int substanceContextMemoryFree(SubstanceContext* context, void* buffer);

/*
 * Loads a linked assembly (the bytes are copied). Sizes, counts and node
 * parameters are validated before anything large is allocated.
 */
int substanceHandleInit(SubstanceHandle** handle, SubstanceContext* context, const void* assemblyData,
                        size_t assemblySize, const SubstanceHardResources* resources);
int substanceHandleGetDesc(SubstanceHandle* handle, SubstanceDataDesc* desc);
int substanceHandleGetInputDesc(SubstanceHandle* handle, unsigned int index, SubstanceInputDesc* desc);
int substanceHandleGetOutputDesc(SubstanceHandle* handle, unsigned int index, SubstanceOutputDesc* desc);
int substanceHandleGetParentContext(SubstanceHandle* handle, SubstanceContext** context);

/*
 * Sets input inputIndex. inputType must equal the input's type. value points
 * to the 1 to 4 floats or ints of a numerical input, and for an image input
 * is itself a const SubstanceTextureInput* (null, or a record whose buffer is
 * null: the image is unset and the input reads as opaque mid grey). userData is reserved and must be 0.
 */
int substanceHandlePushSetInput(SubstanceHandle* handle, unsigned int flags, unsigned int inputIndex,
                                unsigned int inputType, const void* value, size_t userData);

/*
 * Queues outputs for the next start: count entries of outputs, UIDs with
 * SubstancePush_OutputsByUid, engine indices otherwise. jobUserData comes
 * back through the output-completed callback.
 */
int substanceHandlePushOutputs(SubstanceHandle* handle, unsigned int flags, const unsigned int* outputs,
                               unsigned int count, size_t jobUserData);

/* Renders everything queued. Returns once every queued output was delivered. */
int substanceHandleStart(SubstanceHandle* handle, unsigned int mode);

/*
 * Hands over the textures of count outputs from outputIndex on, rendered by
 * the last start. Each buffer then belongs to the caller
 * (substanceContextMemoryFree). An output that has no pending texture gives
 * a record with a null buffer. flags is reserved and must be 0.
 */
int substanceHandleGetOutputs(SubstanceHandle* handle, unsigned int flags, unsigned int outputIndex,
                              unsigned int count, SubstanceTexture* textures);

/* Releases a handle and every texture it still holds. */
int substanceHandleRelease(SubstanceHandle* handle);

#ifdef __cplusplus
}
#endif

#endif
