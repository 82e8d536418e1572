#include "hosting/dx/ComTest_win32.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

using TestFilters::TestFactory;

ComApartment::ComApartment() {
    EXPECT_TRUE(SUCCEEDED(OleInitialize(nullptr)));
}

ComApartment::~ComApartment() {
    OleUninitialize();
}

ClassObject::ClassObject(const CLSID& id, TestFactory::Make make, DWORD context) {
    const auto factory = Tarvik::ComPointer<TestFactory>::Adopt(new TestFactory(std::move(make)));
    EXPECT_EQ(CoRegisterClassObject(id, factory.Get(), context, REGCLS_MULTI_SEPARATE, &cookie), S_OK);
}

ClassObject::~ClassObject() {
    CoRevokeClassObject(cookie);
}

CLSID newClassId() {
    CLSID id{};
    EXPECT_EQ(CoCreateGuid(&id), S_OK);
    return id;
}

String classIdText(const CLSID& id) {
    std::array<wchar_t, 39> braced{};
    StringFromGUID2(id, braced.data(), static_cast<int>(braced.size()));
    return String::fromWide(braced.data() + 1, 36);
}

FilterName::FilterName(const CLSID& id, const std::wstring& name)
    : key(L"Filter\\{" + classIdText(id).toNativeWide() + L"}") {
    EXPECT_EQ(
        RegSetKeyValueW(
            HKEY_CLASSES_ROOT, key.c_str(), nullptr, REG_SZ, name.c_str(),
            static_cast<DWORD>((name.size() + 1) * sizeof(wchar_t))),
        ERROR_SUCCESS);
}

FilterName::~FilterName() {
    RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
}

RegisteredFilter::RegisteredFilter(
    TestFilters::Behaviour filterBehaviour, std::optional<std::wstring> name,
    const std::vector<bool>& pageClassExists)
    : behaviour(std::move(filterBehaviour)) {
    if (name) {
        filterName.emplace(id, *name);
    }
    filterClass.emplace(id, [this](REFIID iid, void** out) {
        const HRESULT answer = TestFilters::makeTestFilter(behaviour, pageIds, iid, out);
        last = nullptr;
        if (SUCCEEDED(answer)) {
            // Without a reference: the test must not keep it alive.
            Tarvik::ComPointer<TestFilters::IGain> gain;
            Tarvik::queryInterface(static_cast<IUnknown*>(*out), TestFilters::gainInterface, gain);
            last = gain.Get();
        }
        return answer;
    });
    for (const bool exists : pageClassExists) {
        pageIds.push_back(newClassId());
        if (exists) {
            pageClasses.push_back(
                std::make_unique<ClassObject>(pageIds.back(), [this](REFIID iid, void** out) {
                    return TestFilters::makeTestPage(behaviour, iid, out);
                }));
        }
    }
}
