#include "hosting/PluginHostFixture.h"

namespace Tarvik {
namespace {

using PluginHostDirectXTest = PluginHostFixture;

TEST_F(PluginHostDirectXTest, On_a_platform_without_such_plug_ins_nothing_is_attempted) {
    PluginIdentifier identifier;
    ASSERT_TRUE(identifier.FromString("DX: 12345678-1234-1234-1234-123456789012"));
    host->SetIdentifier(identifier);
    host->ChangePlugin(true);
    EXPECT_EQ(host->GetPlugin(), nullptr);
    EXPECT_FALSE(host->GetInstantiationStatus().valid);
}

} // namespace
} // namespace Tarvik
