#include "models/orlix_crypto.h"

#include <gtest/gtest.h>

#include "encrypted_model.h"
#include "temporary_folder.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using test::encryptedModel;

const std::string kKey = "0123456789abcdef0123456789ABCDEF!"; // one byte more than is used

class ModelCryptoTest : public testing::Test
{
protected:
    bool decrypt(const std::string& file, const std::string& key = kKey)
    {
        m_folder.write("model.enc", file);
        return decryptModelFile(key, m_folder.path("model.enc"), m_folder.path("model"));
    }

    TemporaryFolder m_folder;
};

} // namespace

TEST_F(ModelCryptoTest, decryptsFilesOfEverySizeAroundItsBlocksForTheirOwnerOnly)
{
    m_folder.write("model", "a stale copy that anyone may read");
    ASSERT_FALSE(test_support::isPrivate(m_folder.path("model")));
    for (const std::size_t size : {0, 1, 1023, 1024, 1025, 65535, 65536, 65537, 200'000})
    {
        SCOPED_TRACE(size);
        std::string plaintext(size, 'x');
        for (std::size_t i = 0; i < size; ++i)
            plaintext[i] = static_cast<char>(i * 31);
        EXPECT_TRUE(decrypt(encryptedModel(plaintext, kKey)));
        EXPECT_EQ(plaintext, m_folder.read("model"));
        EXPECT_TRUE(test_support::isPrivate(m_folder.path("model")));
    }
}

TEST_F(ModelCryptoTest, refusesWhatIsNotWholeAndAuthentic)
{
    const std::string good = encryptedModel("weights of a model", kKey);
    std::string flipped = good;
    flipped[20] = static_cast<char>(flipped[20] ^ 1);
    const struct
    {
        const char* name;
        std::string file;
        std::string key;
    } cases[] = {
        {"corrupted", flipped, kKey},
        {"cut", good.substr(0, good.size() - 1), kKey},
        {"longer", good + "x", kKey},
        {"shorter than its envelope", good.substr(0, 27), kKey},
        {"empty", "", kKey},
        {"wrong key", good, std::string(32, 'k')},
        {"key cut short", good, kKey.substr(0, 31)},
        {"no key", good, ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_FALSE(decrypt(c.file, c.key));
    }
    EXPECT_TRUE(decrypt(good));
    EXPECT_FALSE(decryptModelFile(kKey, m_folder.path("none"), m_folder.path("model")));
    EXPECT_FALSE(decryptModelFile(kKey, m_folder.path("model.enc"), m_folder.path("no/folder")));
}

TEST_F(ModelCryptoTest, hashesFilesAsTheirDigestsSay)
{
    m_folder.write("empty", "");
    m_folder.write("long", std::string(10'000, 'a'));
    EXPECT_EQ("1B2M2Y8AsgTpgAmY7PhCfg==", base64Encode(fileMd5(m_folder.path("empty")).value()));
    EXPECT_EQ("DQycTbaVP+6eA/Uoyv19Pg==", base64Encode(fileMd5(m_folder.path("long")).value()));
    EXPECT_FALSE(fileMd5(m_folder.path("none")));
    EXPECT_FALSE(fileMd5(m_folder.path("")));
}

TEST(Base64Test, paddingCountsAsData)
{
    const Bytes key(32, 0xA5);
    const std::string text = base64Encode(key);
    ASSERT_EQ(44u, text.size());
    const auto decoded = base64Decode(text);
    ASSERT_TRUE(decoded);
    ASSERT_EQ(33u, decoded->size());
    EXPECT_EQ(key, Bytes(decoded->begin(), decoded->begin() + 32));
    EXPECT_EQ(0, decoded->back());

    for (const char* const bad : {"no base64!", "abc", "abcde"})
        EXPECT_FALSE(base64Decode(bad)) << bad;
    EXPECT_EQ(0u, base64Decode("").value().size());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
