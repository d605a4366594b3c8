/*
 * The linker's C interface: it takes packages or bare assemblies, connects
 * graphs, overrides output formats, selects outputs, fuses inputs and
 * produces one linked assembly that an engine handle loads.
 *
 * A package pushed into a handle is unpacked: its description text is handed
 * to the context's description callback (kind 2) and its assembly to the
 * assembly callback (kind 3), both during the push. A bare assembly only goes
 * to the assembly callback.
 */
#ifndef PLATFORM_ENGINE_LINKERINTERFACE_H
#define PLATFORM_ENGINE_LINKERINTERFACE_H

#include "platform/engine/EngineTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct SubstanceLinkerContext_ SubstanceLinkerContext;
typedef struct SubstanceLinkerHandle_ SubstanceLinkerHandle;

/* Callback kinds for substanceLinkerContextSetCallback. */
enum {
    SubstanceLinkerCallback_XmlDescription = 2, /* SubstanceLinkerCallbackXmlDescription */
    SubstanceLinkerCallback_Assembly = 3        /* SubstanceLinkerCallbackAssembly */
};

/* The description text of a pushed package, NUL-terminated, valid during the call. */
typedef void (*SubstanceLinkerCallbackXmlDescription)(SubstanceLinkerHandle* handle, unsigned int assemblyUid,
                                                      const char* xmlDescription);
/* The assembly bytes of a pushed package or assembly, valid during the call. */
typedef void (*SubstanceLinkerCallbackAssembly)(SubstanceLinkerHandle* handle, unsigned int assemblyUid,
                                                const char* data, size_t size);

/* Output selection codes of substanceLinkerHandleSelectOutputs. */
enum {
    SubstanceLinkerSelect_Drop = 0, /* leave the output out of the linked assembly */
    SubstanceLinkerSelect_Keep = 1  /* keep it (the default for every output) */
};

/* apiVersion must be SubstanceApiVersion and engineId SubstanceCpuEngineId. */
int substanceLinkerContextInit(SubstanceLinkerContext** context, unsigned int apiVersion, unsigned int engineId);
int substanceLinkerContextSetCallback(SubstanceLinkerContext* context, unsigned int kind,
                                      SubstanceCallback callback);
/* Releases a context. Its handles must have been released before. */
int substanceLinkerContextRelease(SubstanceLinkerContext* context);

int substanceLinkerHandleInit(SubstanceLinkerHandle** handle, SubstanceLinkerContext* context);
/* Adds a package or a bare assembly (the bytes are copied). */
int substanceLinkerHandlePushAssemblyMemory(SubstanceLinkerHandle* handle, const char* data, size_t size);
/* Overrides the format and mip-map count of a pushed output. */
int substanceLinkerHandleSetOutputFormat(SubstanceLinkerHandle* handle, unsigned int outputUid, int format,
                                         unsigned int mipmaps);
/* Feeds output outputUid into image input inputUid of another graph; the input disappears. */
int substanceLinkerConnectOutputToInput(SubstanceLinkerHandle* handle, unsigned int inputUid,
                                        unsigned int outputUid);
/* Selects an output with one of the SubstanceLinkerSelect_* codes. */
int substanceLinkerHandleSelectOutputs(SubstanceLinkerHandle* handle, unsigned int selectionCode,
                                       unsigned int outputUid);
/* Makes two inputs of the same type one: values set on keptUid drive both; fusedUid disappears. */
int substanceLinkerFuseInputs(SubstanceLinkerHandle* handle, unsigned int keptUid, unsigned int fusedUid);

/*
 * Validates everything pushed and requested and produces the linked assembly.
 * *data and *size describe bytes owned by the handle, valid until the next
 * link or the handle's release.
 */
int substanceLinkerHandleLink(SubstanceLinkerHandle* handle, const char** data, size_t* size);
int substanceLinkerHandleRelease(SubstanceLinkerHandle* handle);

#ifdef __cplusplus
}
#endif

#endif
