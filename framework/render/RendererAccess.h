// Scoped access to the process-wide renderer: holds the renderer mutex for
// its lifetime and creates the renderer on first use. Every registration,
// job push and state-key update goes through one of these.
#pragma once

#include <boost/noncopyable.hpp>
#include <boost/thread/mutex.hpp>

namespace SubstanceAir {

class RendererImpl;

class RendererAccess : private boost::noncopyable {
public:
    RendererAccess();
    ~RendererAccess();

    RendererImpl* operator->() const { return mRenderer; }
    RendererImpl& operator*() const { return *mRenderer; }

private:
    boost::mutex::scoped_lock mLock;
    RendererImpl* mRenderer;
};

} // namespace SubstanceAir
