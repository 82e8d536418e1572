#include "controller/ParamConfigFile.h"

#include "support/ConfigSandbox.h"
#include "support/VirtualSlot.h"

#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace {

using Controller::BoolParamConfigFile;
using Controller::ConfigWritePolicy;
using Controller::FloatParamConfigFile;
using Controller::ParamConfigFileStorage;
using Controller::StringParamConfigFile;
using testing::ElementsAre;
using testing::IsEmpty;
using Util::ConfigFile;
using Util::ConfigValue;

std::string text(float value) {
    return std::isnan(value) ? "nan" : std::to_string(static_cast<int>(value));
}

/// Tells what is read and written, and holds one value.
class LoggedConfigFile final : public ConfigFile {
public:
    explicit LoggedConfigFile(std::vector<std::string>& log) : ConfigFile("logged"), log_(log) {}

    float readFloat(const String& key, float defaultValue) const override {
        log_.push_back("read " + key.toStdString());
        return stored.value_or(defaultValue);
    }
    void writeFloat(const String& key, float value) override {
        log_.push_back("write " + key.toStdString() + " " + text(value));
        stored = value;
    }
    bool readBool(const String& key, bool defaultValue) const override {
        log_.push_back("read " + key.toStdString());
        return stored ? *stored != 0.0f : defaultValue;
    }
    void writeBool(const String& key, bool value) override {
        log_.push_back("write " + key.toStdString() + (value ? " true" : " false"));
        stored = value ? 1.0f : 0.0f;
    }

    std::optional<float> stored;

private:
    std::vector<std::string>& log_;
};

/// A parameter whose listeners are there before it is built to its end.
template<class Base>
class Observed : public Base {
public:
    inline static std::vector<std::string> log;

    template<class Storage>
    explicit Observed(Storage storage) : Base(std::move(storage)) {
        log.push_back("stack");
        this->rangeChangedSignal().connect(listener_, [](const auto& range) {
            log.push_back(
                "range " + std::to_string(static_cast<int>(range.lower)) + " " +
                std::to_string(static_cast<int>(range.upper)));
        });
        this->defaultChangedSignal().connect(listener_, [](const auto& value) {
            log.push_back("default " + std::to_string(static_cast<int>(value)));
        });
        this->valueChangedSignal().connect(listener_, [](const auto&) { log.push_back("value"); });
    }

private:
    Trackable listener_;
};

class PersistentParam : public testing::Test {
protected:
    ConfigSandbox sandbox;
    ConfigFile config{sandbox.base()};
    /// As another part of the program, or another program, sees the store.
    ConfigFile other{sandbox.base()};
};

TEST(ParamConfigFileStorage, Its_operations_stand_in_their_published_order) {
    struct Open : ParamConfigFileStorage<float> {
        using ParamConfigFileStorage::read;
        using ParamConfigFileStorage::write;
    };
    using Storage = ParamConfigFileStorage<float>;
    EXPECT_EQ(
        virtualSlots(&Storage::set, &Storage::get, &Open::write, &Open::read), slotsFrom(destructorSlots, 4));
    // In front of them the two entries of the destructor, of which the first one leaves the memory alone.
    std::vector<std::string> log;
    LoggedConfigFile config(log);
    alignas(Storage) unsigned char memory[sizeof(Storage)];
    auto* storage = new (memory) Storage(1.0f, config, ConfigWritePolicy::AtDestruction, "key");
    using Destructor = void (*)(void* object);
    const Destructor* table = nullptr;
    std::memcpy(&table, static_cast<const void*>(storage), sizeof table);
    EXPECT_THAT(log, ElementsAre("read key"));
    table[0](storage);
    EXPECT_THAT(log, ElementsAre("read key", "write key 1"));
}

TEST(ParamConfigFileStorage, The_policies_have_their_published_numbers) {
    EXPECT_EQ(static_cast<std::uint32_t>(ConfigWritePolicy::OnEachChange), 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(ConfigWritePolicy::AtDestruction), 1U);
}

TEST(ParamConfigFileStorage, Its_destructor_writes_with_the_later_policy_alone) {
    std::vector<std::string> log;
    LoggedConfigFile config(log);
    {
        ParamConfigFileStorage<float> through(1.0f, config, ConfigWritePolicy::OnEachChange, "through");
        through.set(2.0f);
        EXPECT_THAT(log, ElementsAre("read through", "write through 2"));
    }
    EXPECT_EQ(log.size(), 2U);
    config.stored.reset();
    log.clear();
    {
        ParamConfigFileStorage<float> late(1.0f, config, ConfigWritePolicy::AtDestruction, "late");
        late.set(2.0f);
        late.set(3.0f);
        EXPECT_EQ(late.get(), 3.0f);
        EXPECT_THAT(log, ElementsAre("read late"));
    }
    EXPECT_THAT(log, ElementsAre("read late", "write late 3"));
}

TEST(ParamConfigFileStorage, An_equal_value_is_neither_written_nor_told) {
    std::vector<std::string> log;
    LoggedConfigFile config(log);
    ParamConfigFileStorage<float> storage(1.0f, config, ConfigWritePolicy::OnEachChange, "key");
    Trackable listener;
    storage.changed().connect(listener, [&](const float&) { log.push_back("changed"); });
    storage.set(1.0f);
    EXPECT_THAT(log, ElementsAre("read key"));
    storage.set(2.0f);
    storage.set(2.0f);
    EXPECT_THAT(log, ElementsAre("read key", "write key 2", "changed"));
}

TEST(ParamConfigFileStorage, A_NaN_is_always_written_and_told) {
    std::vector<std::string> log;
    LoggedConfigFile config(log);
    config.stored = std::nanf("");
    ParamConfigFileStorage<float> storage(1.0f, config, ConfigWritePolicy::OnEachChange, "key");
    EXPECT_TRUE(std::isnan(storage.get()));
    Trackable listener;
    storage.changed().connect(listener, [&](const float&) { log.push_back("changed"); });
    storage.set(std::nanf(""));
    EXPECT_THAT(log, ElementsAre("read key", "write key nan", "write key nan", "changed"));
}

TEST_F(PersistentParam, A_float_change_is_readable_at_once_from_the_store) {
    FloatParamConfigFile param(0.5f, {0.0f, 1.0f}, config, "a\\/b/gain");
    param.setValue(0.75f);
    EXPECT_EQ(other.readFloat("a\\/b/gain", -1.0f), 0.75f);
    EXPECT_EQ(sandbox.stored("a/b", "gain"), (ConfigValue{3, {0, 0, 0x40, 0x3F}}));
    param.setValue(0.25f);
    EXPECT_EQ(other.readFloat("a\\/b/gain", -1.0f), 0.25f);
}

TEST_F(PersistentParam, A_bool_change_is_not_in_the_store_until_the_parameter_is_destroyed) {
    other.writeBool("flag", false);
    {
        BoolParamConfigFile param(false, config, "flag");
        param.setValue(true);
        EXPECT_TRUE(param.value());
        EXPECT_FALSE(other.readBool("flag", false));
    }
    EXPECT_TRUE(other.readBool("flag", false));
    EXPECT_EQ(sandbox.stored("", "flag"), (ConfigValue{4, {1, 0, 0, 0}}));
}

TEST_F(PersistentParam, A_text_change_is_not_in_the_store_until_the_parameter_is_destroyed) {
    {
        StringParamConfigFile param("default", config, "name");
        param.setValue("new");
        EXPECT_EQ(param.value(), "new");
        EXPECT_FALSE(sandbox.stored("", "name"));
    }
    EXPECT_EQ(other.readString("name", "").toStdString(), "new");
}

TEST_F(PersistentParam, With_an_empty_store_a_float_has_its_default_and_writes_nothing) {
    {
        const FloatParamConfigFile param(0.5f, {0.0f, 1.0f}, config, "gain");
        EXPECT_EQ(param.value(), 0.5f);
        EXPECT_EQ(param.defaultValue(), 0.5f);
        EXPECT_EQ(param.range(), (value_range<float>{0.0f, 1.0f}));
    }
    EXPECT_FALSE(sandbox.hasSubkey(""));
}

TEST_F(PersistentParam, With_an_empty_store_a_bool_is_written_at_destruction_though_it_never_changed) {
    {
        const BoolParamConfigFile param(true, config, "flag");
        EXPECT_TRUE(param.value());
        EXPECT_FALSE(sandbox.hasSubkey(""));
    }
    EXPECT_EQ(sandbox.stored("", "flag"), (ConfigValue{4, {1, 0, 0, 0}}));
}

TEST_F(PersistentParam, With_an_empty_store_a_text_is_written_at_destruction_though_it_never_changed) {
    {
        const StringParamConfigFile param(String(), config, "name");
    }
    EXPECT_EQ(sandbox.stored("", "name"), (ConfigValue{1, {0, 0}}));
}

TEST_F(PersistentParam, The_stored_preference_wins_over_the_default) {
    other.writeFloat("gain", 0.75f);
    other.writeBool("flag", true);
    other.writeString("name", "stored");
    FloatParamConfigFile gain(0.5f, {0.0f, 1.0f}, config, "gain");
    BoolParamConfigFile flag(false, config, "flag");
    StringParamConfigFile name("default", config, "name");
    EXPECT_EQ(gain.value(), 0.75f);
    EXPECT_TRUE(flag.value());
    EXPECT_EQ(name.value(), "stored");
    EXPECT_EQ(gain.defaultValue(), 0.5f);
    EXPECT_FALSE(flag.defaultValue());
    EXPECT_EQ(name.defaultValue(), "default");
    EXPECT_TRUE(gain.hasDefault() && flag.hasDefault() && name.hasDefault());
    gain.resetToDefault();
    EXPECT_EQ(other.readFloat("gain", -1.0f), 0.5f);
}

TEST_F(PersistentParam, A_stored_value_of_another_type_gives_way_to_the_default) {
    other.writeString("gain", "0.75");
    other.writeString("flag", "true");
    {
        const FloatParamConfigFile gain(0.5f, {0.0f, 1.0f}, config, "gain");
        const BoolParamConfigFile flag(false, config, "flag");
        EXPECT_EQ(gain.value(), 0.5f);
        EXPECT_FALSE(flag.value());
    }
    EXPECT_EQ(other.readString("gain", ""), "0.75") << "a float that did not change writes nothing";
    EXPECT_EQ(sandbox.stored("", "flag"), (ConfigValue{4, {0, 0, 0, 0}}));
}

TEST_F(PersistentParam, A_stored_value_out_of_range_survives_until_the_next_one_is_set) {
    other.writeFloat("gain", 7.0f);
    {
        const FloatParamConfigFile param(0.5f, {0.0f, 1.0f}, config, "gain");
        EXPECT_EQ(param.value(), 7.0f);
    }
    EXPECT_EQ(other.readFloat("gain", -1.0f), 7.0f);
    FloatParamConfigFile param(0.5f, {0.0f, 1.0f}, config, "gain");
    param.setRange({0.0f, 2.0f});
    EXPECT_EQ(param.value(), 7.0f);
    param.setValue(7.0f);
    EXPECT_EQ(param.value(), 2.0f);
    EXPECT_EQ(other.readFloat("gain", -1.0f), 2.0f);
}

TEST_F(PersistentParam, Values_are_clamped_before_they_are_written) {
    FloatParamConfigFile param(0.5f, {0.0f, 1.0f}, config, "gain");
    param.setValue(3.0f);
    EXPECT_EQ(other.readFloat("gain", -1.0f), 1.0f);
}

TEST_F(PersistentParam, A_listener_of_a_float_finds_the_store_written) {
    FloatParamConfigFile param(0.5f, {0.0f, 1.0f}, config, "gain");
    Trackable listener;
    float seen = -1.0f;
    param.valueChangedSignal().connect(
        listener, [&](const float&) { seen = other.readFloat("gain", -1.0f); });
    param.setValue(0.75f);
    EXPECT_EQ(seen, 0.75f);
}

TEST_F(PersistentParam, A_float_is_written_during_a_gesture_too) {
    FloatParamConfigFile param(0.5f, {0.0f, 1.0f}, config, "gain");
    const auto gesture = param.grab();
    param.setValue(0.625f);
    EXPECT_EQ(other.readFloat("gain", -1.0f), 0.625f);
    param.setValue(0.75f);
    EXPECT_EQ(other.readFloat("gain", -1.0f), 0.75f);
}

TEST_F(PersistentParam, A_bool_goes_from_false_to_true_and_a_text_has_no_range) {
    const BoolParamConfigFile flag(true, config, "flag");
    EXPECT_EQ(flag.range(), (value_range<bool>{false, true}));
    EXPECT_EQ(flag.filters().size(), 1U);
    EXPECT_TRUE(flag.name().isEmpty());
    const StringParamConfigFile name("default", config, "name");
    EXPECT_THAT(name.filters(), IsEmpty());
}

TEST_F(PersistentParam, A_listener_that_destroys_it_has_the_new_value_written) {
    auto param = std::make_unique<StringParamConfigFile>("default", config, "name");
    Trackable listener;
    param->valueChangedSignal().connect(listener, [&](const String&) { param.reset(); });
    param->setValue("new");
    EXPECT_EQ(param, nullptr);
    EXPECT_EQ(other.readString("name", "").toStdString(), "new");
}

TEST_F(PersistentParam, Later_changes_of_the_store_are_not_seen) {
    FloatParamConfigFile param(0.5f, {0.0f, 1.0f}, config, "gain");
    other.writeFloat("gain", 0.75f);
    EXPECT_EQ(param.value(), 0.5f);
    param.setValue(0.5f);
    EXPECT_EQ(other.readFloat("gain", -1.0f), 0.75f) << "no change, as far as the parameter knows";
}

TEST(ParamConfigFile, Is_built_from_the_store_to_the_stack_to_range_and_default) {
    using Param =
        Controller::ParamConfigFile<float, Observed<Controller::FloatParam>, ConfigWritePolicy::OnEachChange>;
    std::vector<std::string>& log = Observed<Controller::FloatParam>::log;
    log.clear();
    LoggedConfigFile config(log);
    {
        const Param empty(5.0f, {1.0f, 10.0f}, config, "key");
    }
    EXPECT_THAT(log, ElementsAre("read key", "stack", "range 1 10", "default 5"));
    log.clear();
    config.stored = 7.0f;
    {
        const Param stored(5.0f, {1.0f, 10.0f}, config, "key");
    }
    // What differs from the default is a change like any other, but nobody can hear it yet.
    EXPECT_THAT(log, ElementsAre("read key", "write key 7", "stack", "range 1 10", "default 5"));
}

TEST(ParamConfigFile, A_late_writer_is_built_the_same_way_and_writes_last) {
    using Param =
        Controller::ParamConfigFile<bool, Observed<Controller::BoolParam>, ConfigWritePolicy::AtDestruction>;
    std::vector<std::string>& log = Observed<Controller::BoolParam>::log;
    log.clear();
    LoggedConfigFile config(log);
    config.stored = 1.0f;
    {
        Param param(false, {false, true}, config, "key");
        param.setValue(false);
    }
    EXPECT_THAT(log, ElementsAre("read key", "stack", "range 0 1", "default 0", "value", "write key false"));
}

} // namespace
