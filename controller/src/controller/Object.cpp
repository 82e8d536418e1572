#include "controller/Object.h"

#include <algorithm>
#include <cstddef>
#include <utility>

Object::Object(String name) : name_(std::move(name)) {}

Object::~Object() {
    beginDestruction();
    // A child's destructor may add children: the size is read anew each time.
    for (std::size_t index = 0; index < children_.size(); ++index) {
        if (children_[index] != nullptr) {
            delete children_[index];
            children_[index] = nullptr;
        }
    }
}

void Object::addChild(Object* child) {
    if (child == nullptr || child->parent_ != nullptr) {
        return;
    }
    if (std::find(children_.begin(), children_.end(), child) != children_.end() || child->ownedByParent_) {
        return;
    }
    child->ownedByParent_ = true;
    children_.push_back(child);
    child->parent_ = this;
}

void Object::beginDestruction() {
    if (isBeingDestroyed_) {
        return;
    }
    isBeingDestroyed_ = true;
    if (parent_ != nullptr && !parent_->isBeingDestroyed_) {
        std::vector<Object*>& siblings = parent_->children_;
        std::replace(siblings.begin(), siblings.end(), this, static_cast<Object*>(nullptr));
    }
}
