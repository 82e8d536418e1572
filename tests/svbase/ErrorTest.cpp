#include "svbase/util/Error.h"

#include "support/VirtualSlot.h"
#include "svbase/util/expected.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace {

class Leak : public Util::BasicError<Leak> {
public:
    explicit Leak(String format) : BasicError("Leak", 7, std::move(format)) {}
};

class Fire : public Util::BasicError<Fire> {
public:
    explicit Fire(String format) : BasicError("Fire", 9, std::move(format)) {}
};

std::vector<std::string> arguments(const Util::Error& error) {
    std::vector<std::string> result;
    for (const String& argument : error.arguments()) {
        result.push_back(argument.toStdString());
    }
    return result;
}

TEST(Error, Its_operations_stand_in_their_published_order) {
    using Util::Error;
    EXPECT_EQ(
        virtualSlots(&Error::category, &Error::code, &Error::format, &Error::arguments, &Error::message),
        slotsFrom(destructorSlots, 5));
}

TEST(Error, Holds_category_code_format_and_arguments) {
    const Leak error = Leak("Valve %1 of %2").arg(3).arg("tank");
    EXPECT_EQ(error.category().toStdString(), "Leak");
    EXPECT_EQ(error.code(), 7U);
    EXPECT_EQ(error.kind(), 1);
    EXPECT_EQ(error.format().toStdString(), "Valve %1 of %2");
    EXPECT_EQ(arguments(error), (std::vector<std::string>{"3", "tank"}));
    EXPECT_EQ(error.message().toStdString(), "Valve 3 of tank");
}

TEST(Error, Arguments_of_every_type_become_texts) {
    Leak error("");
    error.arg(std::int32_t{-1}).arg(std::uint32_t{0xFFFFFFFF}).arg(std::int64_t{-5'000'000'000});
    error.arg(std::uint64_t{18'446'744'073'709'551'615U}).arg('c').arg(1.5F).arg(2.5).arg(String("s"));
    EXPECT_EQ(
        arguments(error),
        (std::vector<std::string>{
            "-1", "4294967295", "-5000000000", "18446744073709551615", "c", "1.500000", "2.500000", "s"}));
}

TEST(Error, Surplus_arguments_stick_on_behind_the_format) {
    EXPECT_EQ(Leak("Only %1").arg("a").arg("b").arg(3).message().toStdString(), "Only ab3");
}

TEST(Error, Missing_arguments_leave_their_placeholders) {
    EXPECT_EQ(Leak("%1 and %2").arg("a").message().toStdString(), "a and %2");
}

TEST(Error, An_argument_that_holds_a_placeholder_captures_a_later_argument) {
    EXPECT_EQ(Leak("%2 %3").arg("%1").arg("x").message().toStdString(), "x %3");
}

TEST(Error, A_copy_outlives_the_operation_and_is_read_on_another_thread) {
    expected<void, Leak> result;
    {
        const String name("a name that is longer than fifteen bytes");
        result = unexpected(Leak("In %1").arg(name));
    }
    std::string seen;
    std::thread reader([&] { seen = result.error().message().toStdString(); });
    reader.join();
    EXPECT_EQ(seen, "In a name that is longer than fifteen bytes");
}

using Disaster = Util::ErrorVariant<Leak, Fire>;

TEST(Error, A_variant_forwards_everything_to_the_alternative_held) {
    const Disaster leak = Leak("wet %1").arg(1);
    const Disaster fire = Fire("hot %1").arg(2);
    const Util::Error& base = fire;
    EXPECT_EQ(leak.category().toStdString(), "Leak");
    EXPECT_EQ(base.category().toStdString(), "Fire");
    EXPECT_EQ(base.code(), 9U);
    EXPECT_EQ(base.format().toStdString(), "hot %1");
    EXPECT_EQ(arguments(base), std::vector<std::string>{"2"});
    EXPECT_EQ(base.message().toStdString(), "hot 2");
    EXPECT_EQ(fire.get<Leak>(), nullptr);
    EXPECT_EQ(fire.get<Fire>()->code(), 9U);
}

TEST(Error, An_expected_of_a_variant_takes_either_error) {
    const auto open = [](bool wet) -> expected<int, Disaster> {
        if (wet) {
            return unexpected(Leak("wet"));
        }
        return unexpected(Fire("hot"));
    };
    EXPECT_EQ(open(true).error().message().toStdString(), "wet");
    EXPECT_EQ(open(false).error().message().toStdString(), "hot");
}

TEST(Expected, Holds_a_value_or_an_error) {
    const expected<int, Leak> good = 5;
    EXPECT_TRUE(good);
    EXPECT_EQ(*good, 5);
    const expected<int, Leak> bad = unexpected(Leak("wet"));
    EXPECT_FALSE(bad.has_value());
    EXPECT_EQ(bad.error().code(), 7U);
}

TEST(Expected, Reading_the_value_of_an_error_throws_with_its_text_inside) {
    const expected<int, Leak> bad = unexpected(Leak("Valve %1").arg(4));
    try {
        static_cast<void>(bad.value());
        FAIL() << "no exception";
    } catch (const bad_expected_access<Leak>& access) {
        const std::exception& base = access;
        EXPECT_STREQ(base.what(), "Valve 4");
        EXPECT_EQ(access.error().code(), 7U);
    }
}

TEST(Expected, Of_void_is_success_or_an_error) {
    const expected<void, Leak> good;
    EXPECT_TRUE(good);
    EXPECT_NO_THROW(good.value());
    const expected<void, Leak> bad = unexpected(Leak("wet"));
    EXPECT_FALSE(bad);
    EXPECT_THROW(bad.value(), bad_expected_access<Leak>);
}

TEST(CheckedValue, Zero_initialised_is_invalid) {
    const checked_value<unsigned> none{};
    EXPECT_FALSE(none.valid);
    EXPECT_EQ(none.value, 0U);
    EXPECT_EQ(none.value_or(4), 4U);
    const checked_value<unsigned> some = 3;
    EXPECT_TRUE(some.valid);
    EXPECT_EQ(some.value_or(4), 3U);
    EXPECT_NE(some, none);
    EXPECT_EQ(some, 3U);
}

} // namespace
