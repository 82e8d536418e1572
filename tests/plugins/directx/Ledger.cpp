#include "directx/Ledger.h"

#include <utility>

namespace TestFilters {

Ledger& Ledger::Instance() {
    static Ledger ledger;
    return ledger;
}

void Ledger::Clear() {
    const std::lock_guard guard(lock);
    accounts.clear();
}

void Ledger::Made(const std::string& name) {
    const std::lock_guard guard(lock);
    ++accounts[name].made;
}

void Ledger::Destroyed(const std::string& name) {
    const std::lock_guard guard(lock);
    ++accounts[name].destroyed;
}

void Ledger::Added(const std::string& name) {
    const std::lock_guard guard(lock);
    ++accounts[name].addRefs;
}

void Ledger::Released(const std::string& name) {
    const std::lock_guard guard(lock);
    ++accounts[name].releases;
    if (onRelease) {
        onRelease(name);
    }
}

void Ledger::TellReleases(std::function<void(const std::string& name)> listener) {
    const std::lock_guard guard(lock);
    onRelease = std::move(listener);
}

std::map<std::string, Ledger::Account> Ledger::Accounts() const {
    const std::lock_guard guard(lock);
    return accounts;
}

long Ledger::Living() const {
    const std::lock_guard guard(lock);
    long living = 0;
    for (const auto& [name, account] : accounts) {
        living += account.made - account.destroyed;
    }
    return living;
}

} // namespace TestFilters
