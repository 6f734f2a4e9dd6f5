#include <velutils/Sha256.h>

#include <gtest/gtest.h>

// Known digests, including inputs that straddle the 55/56/64-byte padding boundaries.
TEST(Sha256, MatchesKnownDigests) {
    EXPECT_EQ(Velutils::Sha256::hex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(Velutils::Sha256::hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(Velutils::Sha256::hex("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(Velutils::Sha256::hex(std::string(64, 'a')),
              "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb");
    EXPECT_NE(Velutils::Sha256::hex("velx.log(1)"), Velutils::Sha256::hex("velx.log(2)"));
}
