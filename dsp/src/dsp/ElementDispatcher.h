#pragma once

#include "dsp/DispatchInfo.h"
#include "dsp/ElementImpl.h"
#include "dsp/ParamRegistration.h"

#include <cstdint>
#include <memory>

namespace DSP {

/// The element that has parameters. Each lives twice: the concrete element's own variable, which its DSP
/// reads without a lock, and a value on the control side. Changes from the control side travel as commands;
/// changes that the DSP makes itself are polled by DispatchParamChanges. No lock is involved either way.
///
/// A concrete element registers its parameters in its constructor and then calls FinishParamRegistration
/// once; from then on the list is fixed. All operations are for the control thread, except where a callback
/// says otherwise.
///
/// The DSP's variable is read by the control thread while the audio thread may write it: a DSP that changes
/// a parameter itself writes it with StoreParamTarget.
class ElementDispatcher : public ElementImpl {
public:
    ElementDispatcher(
        ElementHost* host, String name, float sampleRate, std::uint32_t channelLayout,
        const ElementConfig& config = {});
    ~ElementDispatcher() override;

    void DispatchParamChanges() override;
    std::uint32_t GetNumParams() const override;
    ParamHandle GetParam(const String& name) const override;
    bool ConnectParam(const String& name, const ParamSlot& slot, Connection& connection) override;
    ParamMap& GetParamMap() override;
    const ParamMap& GetParamMap() const override;
    const ParamInfo& GetParamInfo(const String& name) const override;
    Controller::ControllerSet* GetControllerSet() override;

    /// The names by index; the empty String for an index that was left out.
    const std::vector<String>& GetParamNames() const;

    /// Writes a parameter from the control side. source: 1 for the control side's own change, which travels
    /// to the audio side; 0 writes the audio side's value and is for the audio thread. An index past the
    /// end, or a value of another kind than the parameter's, changes nothing. False when nothing changed.
    bool SetParam(std::uint32_t source, std::uint32_t index, const ParamValue& value);

    /// The tag that SetParam gives to changes of that source: 1, or any other. Invalid: the tag is (0,
    /// source).
    void SetLastSource(std::uint32_t source, const checked_value<std::uint32_t>& value);

    /// Writes the audio side's value alone, clamped: no observer, no callback, no signal hears of it, and the
    /// control side's value is left to the caller. Travels as a command.
    void SetParamWithoutCallbacks(std::uint32_t index, const ParamValue& value);

    /// The record of a parameter, null past the end or for another kind. Lives as long as the element or a
    /// handle. [any, once the registration is finished]
    template<class T>
    DispatchInfo<T>* GetDispatchInfo(std::uint32_t index) const {
        return GetDispatchTable().Find<T>(index);
    }

protected:
    /// Registers a parameter at its index, in place of the one that was registered there under another name.
    /// A name that is registered already stays with its first parameter: another index then holds one that
    /// no name leads to.
    void AddFloatParam(ParamRegistration<float> registration);
    void AddBoolParam(ParamRegistration<bool> registration);
    void AddEnumParam(ParamRegistration<std::uint32_t> registration);

    /// Ends the set-up: makes the parameters, announces their values, reserves scratch memory. A second call
    /// does nothing.
    void FinishParamRegistration();

    /// The set that GetControllerSet keeps. The default reaches every parameter by its name. Must not call
    /// GetControllerSet.
    virtual std::unique_ptr<Controller::ControllerSet> CreateControllerSet();

private:
    struct Params;

    const DispatchTable& GetDispatchTable() const;

    template<class T>
    void Register(ParamRegistration<T> registration);
    template<class T>
    void MakeParam(std::uint32_t index, ParamRegistration<T>& registration);

    std::unique_ptr<Params> params;
};

} // namespace DSP
