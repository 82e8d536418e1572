#pragma once

#include "controller/BoolParam.h"
#include "controller/LinkedParam.h"
#include "controller/Object.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace Controller {

/// Ties parameters of one kind together: while a switch is on, setting one of them through this controller
/// sets all of them to the same value. P: FloatParam, or what has its operations.
///
/// The parameters themselves stay as they are; a control that shall take part in the link is given
/// linkedParam(i) in place of parameter i. [ui]
template<class P>
class AbsoluteLinkController : public Object {
public:
    /// None is owned; all outlive this controller and the parameters that it hands out.
    AbsoluteLinkController(std::vector<P*> parameters, BoolParam* linkSwitch)
        : Object("AbsoluteLinkController"), parameters_(std::move(parameters)), linkSwitch_(linkSwitch) {
        for (std::size_t index = 0; index < parameters_.size(); ++index) {
            linked_.push_back(std::make_shared<LinkedParam<P>>(
                *parameters_[index], [this, index] { begin(index); },
                [this, index](const Value& value) { set(index, value); }, [this] { end(); }));
        }
    }

    std::size_t size() const { return linked_.size(); }
    /// Precondition: index < size(). Not to be used after this controller's end.
    std::shared_ptr<P> linkedParam(std::size_t index) const { return linked_[index]; }

private:
    using Value = typename LinkedParam<P>::Value;

    void begin(std::size_t index) {
        if (!linkSwitch_->value()) {
            handles_.push_back(parameters_[index]->grab());
            return;
        }
        if (std::all_of(parameters_.begin(), parameters_.end(), [](P* p) { return p->isInChange(); })) {
            return;
        }
        for (P* const parameter : parameters_) {
            handles_.push_back(parameter->grab());
        }
    }

    /// In the order of the list; the parameter that the user holds has no preference.
    void set(std::size_t index, const Value& value) {
        if (!linkSwitch_->value()) {
            parameters_[index]->setValue(value);
            return;
        }
        for (P* const parameter : parameters_) {
            parameter->setValue(value);
        }
    }

    void end() {
        // Taken out first: the end of a gesture may begin another one here.
        auto released = std::exchange(handles_, {});
        for (auto& handle : released) {
            handle.reset();
        }
    }

    std::vector<P*> parameters_;
    BoolParam* linkSwitch_;
    std::vector<std::shared_ptr<LinkedParam<P>>> linked_;
    /// Of the gesture that is open; null for parameters that were in one already.
    std::vector<std::shared_ptr<GrabbedParamHandle<Value>>> handles_;
};

} // namespace Controller
