#include <thread>

#include <gtest/gtest.h>

#include "host_doubles.h"

namespace tavo::sdk
{

namespace
{

using test::refCount;

class Probe : public test::Counted<IString>
{
public:
    const char* str() const override { return ""; }
};

TEST(Counting, anInterfaceIsFoundByEachOfItsIdsAndCounted)
{
    const auto frame = makePtr<test::Frame>(1);
    for (const char* const id :
         {"tavo::sdk::analytics::IUncompressedVideoFrame1",
          "tavo::sdk::analytics::IUncompressedVideoFrame", "tavo::sdk::analytics::IDataPacket",
          "tavo::sdk::IRefCountable"})
        EXPECT_EQ(Ptr(frame->queryInterface(id)).get(), frame.get()) << id;
    for (const char* const id : {"tavo::sdk::IString", "tavo::sdk::IRefCountabl", ""})
        EXPECT_EQ(frame->queryInterface(id), nullptr);
    EXPECT_EQ(refCount(frame.get()), 1u);
    EXPECT_EQ(frame->queryInterface(nullptr), nullptr);
}

TEST(Counting, anyThreadMayCount)
{
    const auto probe = makePtr<Probe>();
    const auto countUpAndDown = [&probe]
    {
        for (int i = 0; i < 1000; ++i)
            const Ptr<const IString> copy = probe;
    };
    std::thread other(countUpAndDown);
    countUpAndDown();
    other.join();
    EXPECT_EQ(refCount(probe.get()), 1u);
}

// One who knows an object without keeping it cannot bring it back.
TEST(Counting, nobodyIsKeptWhoseLastReferenceIsGone)
{
    class Registered : public Probe
    {
    public:
        explicit Registered(bool* kept) :
            m_kept(kept)
        {}
        ~Registered() override { *m_kept = tryAddRef(); }

    private:
        bool* const m_kept;
    };
    bool kept = true;
    auto registered = makePtr<Registered>(&kept);
    EXPECT_TRUE(registered->tryAddRef());
    EXPECT_EQ(registered->releaseRef(), 1u);
    registered.reset();
    EXPECT_FALSE(kept);
}

TEST(Counting, aPartForwardsToItsOwner)
{
    class Part : public RefCountable<IString>
    {
    public:
        explicit Part(const IRefCountable* owner) :
            RefCountable(owner)
        {}
        const char* str() const override { return "part"; }
    };
    class Owner : public Probe
    {
    public:
        Part part{this};
    };

    Owner* const owner = new Owner;
    EXPECT_EQ(owner->part.addRef(), 2u);
    EXPECT_EQ(owner->releaseRef(), 1u);
    EXPECT_EQ(owner->part.releaseRef(), 0u);
    EXPECT_EQ(Probe::alive(), 0);
}

TEST(Ptr, countsOnceForEachOfItsWays)
{
    Ptr<Probe> first(new Probe); // takes over
    EXPECT_EQ(refCount(first.get()), 1u);
    Ptr<Probe> second = addRefToPtr(first.get());
    EXPECT_EQ(refCount(first.get()), 2u);
    const Ptr<const IString> base = second; // adds
    EXPECT_EQ(refCount(first.get()), 3u);
    const Ptr<IRefCountable> moved = std::move(second);
    EXPECT_EQ(refCount(first.get()), 3u);
    EXPECT_EQ(second, nullptr); // NOLINT(bugprone-use-after-move): what a move leaves is promised
    first = *&first; // of itself
    EXPECT_EQ(refCount(first.get()), 3u);
    const Probe* const raw = first.releasePtr();
    EXPECT_EQ(refCount(raw), 3u);
    raw->releaseRef();
    EXPECT_EQ(interfaceCast<IString>(moved), base);
    EXPECT_EQ(interfaceCast<IStringMap>(moved), nullptr);
}

} // namespace

} // namespace tavo::sdk
