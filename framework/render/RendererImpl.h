// The process-wide renderer: the one object that talks to the engine. It
// keeps the registry of loaded packages, groups render jobs into render
// states (one engine handle each), links packages into an assembly for a
// state that has none, pushes the changed input values and the wanted
// outputs, starts the engine and hands each finished texture to the output
// instance that asked for it.
//
// Reached only through RendererAccess, which holds the renderer mutex; runAll
// is the exception and runs on the render thread (RenderThread.h).
#pragma once

#include "framework/render/RenderState.h"
#include "platform/engine/EngineInterface.h"
#include "platform/engine/LinkerInterface.h"

#include <boost/noncopyable.hpp>
#include <boost/thread/mutex.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace SubstanceAir {

class PackageDesc;

class RendererImpl : private boost::noncopyable {
public:
    // Creates the linker context; the engine context comes with the first run.
    RendererImpl();
    // Releases every state (and its handle), then the engine and linker contexts.
    virtual ~RendererImpl();

    // Adds a loaded package under its asmUid; an entry already there stays.
    void registerPackage(PackageDesc& package);
    void unregisterPackage(unsigned int uid);

    // Hands `job` to the first state it matches, or to a new state.
    void pushJob(std::unique_ptr<RenderJob> job);

    // Runs every state: links and loads what is not yet, pushes what
    // changed, renders. Failures leave the jobs of the state pending. A
    // state that no living graph instance has pushed into, with nothing
    // pending, first releases its engine handle (and the engine's memory).
    void runAll();

    // A graph instance's system inputs changed: the first state that holds
    // that graph alone takes `newKey` as the bytes of its first key. States
    // shared by several graphs keep their key.
    void updateStateKey(uint64_t graphIdentity, const KeyBytes& oldKey, const KeyBytes& newKey);

    // In creation order; never shrinks while the renderer lives.
    std::vector<std::unique_ptr<RenderState>> states;
    // Every live package by uid (not owned). Changed under both the
    // renderer mutex and registryMutex; linking on the render thread holds
    // registryMutex alone while it reads and pushes the packages, so that a
    // package cannot be added or destroyed under it.
    std::map<unsigned int, PackageDesc*> packages;
    boost::mutex registryMutex;
    SubstanceLinkerContext* linkerContext = nullptr;
    SubstanceContext* engineContext = nullptr;
    SubstanceDevice device = {};

private:
    bool ensureContext();
    void releaseIfUnused(RenderState& state);
    // Each returns the linker or engine status, 0 for success.
    int link(RenderState& state);
    int initHandle(RenderState& state);
    void run(RenderState& state);
    bool pushInputs(RenderState& state, RenderJob& job, bool hint);
    void pushOutputs(RenderState& state, RenderJob& job, bool hint);
};

} // namespace SubstanceAir
