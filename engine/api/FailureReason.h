/*
 * Why the engine or the linker refused a call. Every call of the C interface
 * (platform/engine/EngineInterface.h and LinkerInterface.h) that returns a
 * non-zero status also leaves a one-line reason naming what is wrong: the
 * graph, node, UID, byte offset or limit, e.g.
 *   linker: connection to input 2011423523: no pushed graph has this input
 *   engine: graph 'pkg://x': output side 16384 exceeds the limit of 8192 texels
 * The reason is kept process-wide, so a call that failed on a render thread
 * can be explained on another thread afterwards. Successful calls leave it
 * alone; a newer failure replaces it.
 */
#ifndef ENGINE_API_FAILUREREASON_H
#define ENGINE_API_FAILUREREASON_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The reason for the most recent failing call of the engine or linker C interface, made on any thread:
   copies at most size-1 bytes and a terminating zero into buffer (when size > 0) and returns the reason's
   full length; 0 when no call has failed since the last clear. */
size_t kvengineLastFailure(char* buffer, size_t size);
/* Forgets the last failure. */
void kvengineClearFailure(void);

#ifdef __cplusplus
}

#include <string>

namespace kvengine {

/* The reason for the most recent failing call; empty when none failed since the last clear. */
inline std::string lastFailure() {
    std::string reason;
    /* Another thread may fail in between: ask again until the copy is whole. */
    for (size_t length = kvengineLastFailure(nullptr, 0);;) {
        reason.resize(length + 1);
        const size_t now = kvengineLastFailure(&reason[0], reason.size());
        if (now <= length) {
            reason.resize(now);
            return reason;
        }
        length = now;
    }
}

} /* namespace kvengine */
#endif

#endif
