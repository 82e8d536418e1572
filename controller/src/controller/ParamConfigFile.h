#pragma once

#include "controller/BoolParam.h"
#include "controller/FloatParam.h"
#include "controller/ParamConfigFileStorage.h"
#include "controller/StringParam.h"
#include "controller/value_range.h"

#include <memory>

namespace Controller {

/// A parameter whose value is a preference. Base: FloatParam, BoolParam or StringParam.
///
/// The preference is there before the range is, and does not go through the filters: one that stands outside
/// of the range stays as it is until the next setValue.
template<class T, class Base, ConfigWritePolicy writePolicy>
class ParamConfigFile : public Base {
public:
    /// For a Base with a range. configFile: must outlive this object.
    ParamConfigFile(
        const T& defaultValue, const value_range<T>& allowed, Util::ConfigFile& configFile, const String& key)
        : Base(std::make_unique<ParamConfigFileStorage<T>>(defaultValue, configFile, writePolicy, key)) {
        this->Base::setRange(allowed);
        this->Base::setDefault(defaultValue);
    }
    /// For one without.
    ParamConfigFile(const T& defaultValue, Util::ConfigFile& configFile, const String& key)
        : Base(std::make_unique<ParamConfigFileStorage<T>>(defaultValue, configFile, writePolicy, key)) {
        this->Base::setDefault(defaultValue);
    }
};

/// Writes each change through, also while it is dragged.
class FloatParamConfigFile : public ParamConfigFile<float, FloatParam, ConfigWritePolicy::OnEachChange> {
public:
    FloatParamConfigFile(
        float defaultValue, const value_range<float>& allowed, Util::ConfigFile& configFile,
        const String& key)
        : ParamConfigFile(defaultValue, allowed, configFile, key) {}
};

/// Writes when it is destroyed, whether it changed or not.
class BoolParamConfigFile : public ParamConfigFile<bool, BoolParam, ConfigWritePolicy::AtDestruction> {
public:
    BoolParamConfigFile(bool defaultValue, Util::ConfigFile& configFile, const String& key)
        : ParamConfigFile(defaultValue, {false, true}, configFile, key) {}
};

/// Writes when it is destroyed, whether it changed or not.
class StringParamConfigFile : public ParamConfigFile<String, StringParam, ConfigWritePolicy::AtDestruction> {
public:
    StringParamConfigFile(const String& defaultValue, Util::ConfigFile& configFile, const String& key)
        : ParamConfigFile(defaultValue, configFile, key) {}
};

} // namespace Controller
