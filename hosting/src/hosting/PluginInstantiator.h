#pragma once

namespace Tarvik {

class PluginInstantiator;

/// The work of making and destroying the plug-in of a host.
class PluginInstantiatorHandler {
public:
    /// Creates the plug-in that the host's identifier names. Failure is the host's status, never an exception
    /// of this operation; what a plug-in's own constructor throws passes through.
    virtual void InstantiatePlugin(PluginInstantiator* instantiator) = 0;

    /// Deletes the plug-in and clears the pointer.
    virtual void DestroyPlugin(PluginInstantiator* instantiator) = 0;

protected:
    /// Nobody owns a handler by this type.
    ~PluginInstantiatorHandler() = default;
};

/// Decides where that work is done, so that an application can bring it to the thread it wants. Called with
/// the host's plug-in lock held: an instantiator that moves the work keeps its caller blocked, or locks for
/// itself.
class PluginInstantiator {
public:
    /// Has the handler create the plug-in. True when it was done.
    virtual bool Instantiate(PluginInstantiatorHandler* handler) = 0;

    /// Has the handler destroy it.
    virtual void Destroy(PluginInstantiatorHandler* handler) = 0;

    /// What plug-ins of the TestableDSP format are given at construction; may be null.
    virtual void* GetTestableDSPHost() = 0;

protected:
    /// Nobody owns an instantiator by this type.
    ~PluginInstantiator() = default;
};

} // namespace Tarvik
