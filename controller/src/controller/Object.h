#pragma once

#include "svbase/util/String.h"
#include "svbase/util/Trackable.h"

#include <vector>

/// A named node of a tree that owns its children, and a listener to signals. [ui]
class Object : public Trackable {
public:
    explicit Object(String name);

    /// Leaves the parent, if there is one and it is not itself on its way out, with a null entry where this
    /// child stood; then destroys the children, first to last.
    virtual ~Object();

    /// Takes ownership. Nothing happens for a null child, one that has a parent or had one, and one that is
    /// a child already.
    void addChild(Object* child);

    const String& objectName() const { return name_; }
    Object* parent() const { return parent_; }
    /// In the order of their addition; null where a child was destroyed before its parent.
    const std::vector<Object*>& children() const { return children_; }
    bool isBeingDestroyed() const { return isBeingDestroyed_; }
    bool isOwnedByParent() const { return ownedByParent_; }

protected:
    /// The first step of the destruction, for classes that must be out of the tree before their own parts
    /// go: marks this object and clears its entry in the parent. Once is enough; more does nothing.
    void beginDestruction();

private:
    String name_;
    bool isBeingDestroyed_ = false;
    bool ownedByParent_ = false;
    Object* parent_ = nullptr;
    std::vector<Object*> children_;
};
