// Random sequences of operations on a parameter whose listener sets it again, against a model that says in
// one place what the classes do in many.

#include "controller/ParamMemory.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Log = std::vector<std::string>;

std::string show(float value) {
    return std::isnan(value) ? "nan" : std::to_string(value);
}

/// What a listener answers to a value: another one to set, or NaN for none.
float answer(float value) {
    return value > 5.0f ? value - 3.0f : std::nanf("");
}

class Subject {
public:
    virtual ~Subject() = default;
    virtual void setValue(float value) = 0;
    virtual void setRange(float lower, float upper) = 0;
    virtual void setDefault(float value) = 0;
    virtual void reset() = 0;
    virtual void grab() = 0;
    virtual void release() = 0;
    virtual float value() = 0;
    Log log;
};

class Real final : public Subject {
public:
    Real() : param_(log) {
        param_.valueChangedSignal().connect(listener_, [this](const float& v) {
            log.push_back("value " + show(v));
            if (const float next = answer(v); !std::isnan(next)) {
                param_.setValue(next);
            }
        });
        param_.rangeChangedSignal().connect(listener_, [this](const value_range<float>& r) {
            log.push_back("range " + show(r.lower) + " " + show(r.upper));
        });
        param_.defaultChangedSignal().connect(
            listener_, [this](const float& v) { log.push_back("default " + show(v)); });
    }

    void setValue(float value) override { param_.setValue(value); }
    void setRange(float lower, float upper) override { param_.setRange({lower, upper}); }
    void setDefault(float value) override { param_.setDefault(value); }
    void reset() override { param_.resetToDefault(); }
    void grab() override {
        if (auto handle = param_.grab()) {
            handle_ = std::move(handle);
        }
    }
    void release() override { handle_.reset(); }
    float value() override { return param_.value(); }

private:
    class Logged final : public Controller::FloatParamMemory {
    public:
        explicit Logged(Log& log) : FloatParamMemory(1.0f, {0.0f, 10.0f}, "logged"), log_(log) {}

    protected:
        void beginChange() override { log_.push_back("begin"); }
        void endChange() override { log_.push_back("end"); }

    private:
        Log& log_;
    };

    Trackable listener_;
    Logged param_;
    std::shared_ptr<Controller::GrabbedParamHandle<float>> handle_;
};

class Model final : public Subject {
public:
    void setValue(float value) override {
        const bool outermost = !open_;
        if (outermost) {
            open_ = true;
            log.push_back("begin");
        }
        if (value < lower_) {
            value = lower_;
        } else if (value > upper_) {
            value = upper_;
        }
        if (!(value == value_)) {
            value_ = value;
            reports_.push_back(value);
            if (!reporting_) {
                report();
            }
        }
        if (outermost) {
            log.push_back("end");
            open_ = false;
        }
    }
    void setRange(float lower, float upper) override {
        lower_ = lower;
        upper_ = upper;
        log.push_back("range " + show(lower) + " " + show(upper));
    }
    void setDefault(float value) override {
        default_ = value;
        log.push_back("default " + show(value));
    }
    void reset() override { setValue(default_); }
    void grab() override {
        if (!open_) {
            open_ = true;
            log.push_back("begin");
        }
    }
    void release() override {
        if (open_) {
            open_ = false;
            log.push_back("end");
        }
    }
    float value() override { return value_; }

private:
    void report() {
        reporting_ = true;
        for (; !reports_.empty(); reports_.pop_front()) {
            log.push_back("value " + show(reports_.front()));
            if (const float next = answer(reports_.front()); !std::isnan(next)) {
                setValue(next);
            }
        }
        reporting_ = false;
    }

    float value_ = 1.0f;
    float lower_ = 0.0f;
    float upper_ = 10.0f;
    float default_ = 1.0f;
    bool open_ = false;
    bool reporting_ = false;
    std::deque<float> reports_;
};

float anyValue(std::mt19937& random) {
    switch (random() % 10) {
    case 0:
        return std::nanf("");
    case 1:
        return std::numeric_limits<float>::infinity();
    case 2:
        return -std::numeric_limits<float>::infinity();
    case 3:
        return -0.0f;
    default:
        return static_cast<float>(random() % 24) / 2.0f - 1.0f;
    }
}

void act(Subject& subject, std::mt19937& random) {
    switch (random() % 9) {
    case 0: {
        const float a = static_cast<float>(random() % 6);
        const float b = static_cast<float>(random() % 12);
        subject.setRange(a, b);
        break;
    }
    case 1:
        subject.setDefault(anyValue(random));
        break;
    case 2:
        subject.reset();
        break;
    case 3:
        subject.grab();
        break;
    case 4:
        subject.release();
        break;
    default:
        subject.setValue(anyValue(random));
        break;
    }
}

TEST(Param, Behaves_as_the_obvious_model_under_random_operations) {
    std::size_t events = 0;
    for (unsigned seed = 0; seed < 2000; ++seed) {
        Real real;
        Model model;
        std::mt19937 forReal(seed);
        std::mt19937 forModel(seed);
        for (int step = 0; step < 40; ++step) {
            act(real, forReal);
            act(model, forModel);
            ASSERT_EQ(real.log, model.log) << "seed " << seed << " step " << step;
            const float expected = model.value();
            const float actual = real.value();
            ASSERT_TRUE(actual == expected || (std::isnan(actual) && std::isnan(expected)));
        }
        events += model.log.size();
    }
    EXPECT_GT(events, 100000u);
}

} // namespace
