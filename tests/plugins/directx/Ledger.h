#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace TestFilters {

/// Books of every reference that was taken of and given back to the objects of a program, by their names.
/// [any]
class Ledger {
public:
    struct Account {
        long made = 0;
        long destroyed = 0;
        long addRefs = 0;
        long releases = 0;

        /// Gone, with every reference given back.
        bool IsSettled() const { return made == destroyed && addRefs == releases; }
    };

    static Ledger& Instance();

    void Clear();
    void Made(const std::string& name);
    void Destroyed(const std::string& name);
    void Added(const std::string& name);
    void Released(const std::string& name);

    /// Has each release told, as it comes; null: no more.
    void TellReleases(std::function<void(const std::string& name)> listener);

    std::map<std::string, Account> Accounts() const;
    /// How many objects live.
    long Living() const;

private:
    mutable std::mutex lock;
    std::map<std::string, Account> accounts;
    std::function<void(const std::string&)> onRelease;
};

} // namespace TestFilters
