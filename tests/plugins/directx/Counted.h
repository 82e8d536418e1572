#pragma once

#include "directx/Ledger.h"

#include <windows.h>

#include <atomic>
#include <string>
#include <utility>

namespace TestFilters {

/// The count of references of one object, in the ledger under its name. The object begins with one reference,
/// which belongs to whoever made it.
class Counted {
public:
    explicit Counted(std::string nameInLedger) : name(std::move(nameInLedger)) {
        Ledger::Instance().Made(name);
        Ledger::Instance().Added(name);
    }
    ~Counted() { Ledger::Instance().Destroyed(name); }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    ULONG Add() {
        Ledger::Instance().Added(name);
        return ++references;
    }
    /// At 0 the caller destroys the object.
    ULONG Release() {
        Ledger::Instance().Released(name);
        return --references;
    }

private:
    std::string name;
    std::atomic<ULONG> references = 1;
};

} // namespace TestFilters
