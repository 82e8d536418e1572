#pragma once

#include "controller/ParamStorage.h"
#include "svbase/util/ConfigFile.h"
#include "svbase/util/String.h"

#include <concepts>
#include <cstdint>
#include <utility>

namespace Controller {

/// When a preference reaches the store. Which class has which is deliberate, and stays: it is the dragged
/// float that is written through, and not the clicked bool.
enum class ConfigWritePolicy : std::uint32_t {
    OnEachChange = 0,
    /// Once, in the destructor: if the program dies, the change is lost.
    AtDestruction = 1,
};

/// A value in memory that mirrors a preference. Starts as what is stored, and as the default where nothing
/// is. T: float, bool or String. Failures are as silent as the ConfigFile's.
template<class T>
class ParamConfigFileStorage : public ParamMemoryStorage<T> {
public:
    /// configFile: must outlive this object, which also writes when it dies.
    ParamConfigFileStorage(
        T defaultValue, Util::ConfigFile& configFile, ConfigWritePolicy writePolicy, String key)
        : ParamMemoryStorage<T>(std::move(defaultValue)), configFile_(&configFile), writePolicy_(writePolicy),
          key_(std::move(key)) {
        ParamConfigFileStorage::set(ParamConfigFileStorage::read());
    }
    ~ParamConfigFileStorage() override {
        if (writePolicy_ == ConfigWritePolicy::AtDestruction) {
            ParamConfigFileStorage::write(ParamConfigFileStorage::get());
        }
    }

    /// A listener finds the store written already, where each change is written.
    void set(const T& value) override {
        const T current = get();
        if (!(value == current) && writePolicy_ == ConfigWritePolicy::OnEachChange) {
            write(value);
        }
        ParamMemoryStorage<T>::set(value);
    }
    T get() const override { return ParamMemoryStorage<T>::get(); }

protected:
    virtual void write(const T& value) {
        if constexpr (std::same_as<T, float>) {
            configFile_->writeFloat(key_, value);
        } else if constexpr (std::same_as<T, bool>) {
            configFile_->writeBool(key_, value);
        } else {
            static_assert(std::same_as<T, String>);
            configFile_->writeString(key_, value);
        }
    }
    /// The stored value; without one, the present value.
    virtual T read() const {
        if constexpr (std::same_as<T, float>) {
            return configFile_->readFloat(key_, get());
        } else if constexpr (std::same_as<T, bool>) {
            return configFile_->readBool(key_, get());
        } else {
            static_assert(std::same_as<T, String>);
            return configFile_->readString(key_, get());
        }
    }

private:
    Util::ConfigFile* configFile_;
    ConfigWritePolicy writePolicy_;
    String key_;
};

} // namespace Controller
