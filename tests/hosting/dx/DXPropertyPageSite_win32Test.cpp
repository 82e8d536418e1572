#include "hosting/dx/DXPropertyPageSite_win32.h"

#include "hosting/dx/ComPointer_win32.h"

#include <gtest/gtest.h>

namespace Tarvik {
namespace {

TEST(DXPropertyPageSite, It_answers_what_little_it_knows) {
    const auto site = ComPointer<DXPropertyPageSite>::Share(new DXPropertyPageSite);
    EXPECT_EQ(site->OnStatusChange(PROPPAGESTATUS_DIRTY), S_OK);
    LCID locale = 0;
    EXPECT_EQ(site->GetLocaleID(&locale), S_OK);
    EXPECT_EQ(locale, GetUserDefaultLCID());
    EXPECT_EQ(site->GetLocaleID(nullptr), E_POINTER);
    IUnknown* container = static_cast<IPropertyPageSite*>(site.Get());
    EXPECT_EQ(site->GetPageContainer(&container), E_NOTIMPL);
    EXPECT_EQ(container, nullptr);
    EXPECT_EQ(site->GetPageContainer(nullptr), E_NOTIMPL);
    EXPECT_EQ(site->TranslateAccelerator(nullptr), E_NOTIMPL);
    EXPECT_STREQ(site->ObjectName(), "DXPropertyPageSite");
}

TEST(DXPropertyPageSite, It_is_what_it_says) {
    const auto site = ComPointer<DXPropertyPageSite>::Share(new DXPropertyPageSite);
    ComPointer<IPropertyPageSite> out;
    EXPECT_EQ(queryInterface(static_cast<IPropertyPageSite*>(site.Get()), IID_IPropertyPageSite, out), S_OK);
    EXPECT_EQ(
        queryInterface(static_cast<IPropertyPageSite*>(site.Get()), IID_IPropertyPage, out), E_NOINTERFACE);
}

} // namespace
} // namespace Tarvik
