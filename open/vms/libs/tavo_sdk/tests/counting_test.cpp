#include <thread>

#include <gmock/gmock.h>
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
    using test::Counted<IString>::Counted;
    const char* str() const override { return ""; }
};

TEST(Counting, anInterfaceIsFoundByEachOfItsIdsAndCounted)
{
    const auto frame = makePtr<test::Frame>(1);
    for (const char* const id :
         {"tavo::sdk::analytics::IUncompressedVideoFrame1",
          "tavo::sdk::analytics::IUncompressedVideoFrame", "tavo::sdk::analytics::IDataPacket",
          "tavo::sdk::IRefCountable"})
    {
        SCOPED_TRACE(id);
        const Ptr<IRefCountable> found(frame->queryInterface(id));
        EXPECT_EQ(found.get(), frame.get());
        EXPECT_EQ(refCount(frame.get()), 2u);
    }
    for (const char* const id : {"tavo::sdk::IString", "tavo::sdk::IRefCountabl", "", "*"})
    {
        EXPECT_EQ(frame->queryInterface(id), nullptr);
        EXPECT_EQ(refCount(frame.get()), 1u);
    }
    EXPECT_EQ(frame->queryInterface(nullptr), nullptr);
}

TEST(Counting, theLastReleaseDestroys)
{
    const auto* const probe = new Probe;
    EXPECT_EQ(probe->addRef(), 2u);
    EXPECT_EQ(probe->releaseRef(), 1u);
    EXPECT_EQ(Probe::alive(), 1);
    EXPECT_EQ(probe->releaseRef(), 0u);
    EXPECT_EQ(Probe::alive(), 0);
}

TEST(Counting, anyThreadMayCount)
{
    const auto probe = makePtr<Probe>();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(
            [probe]
            {
                for (int k = 0; k < 1000; ++k)
                    const Ptr<const IString> copy = probe;
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    threads.clear();
    EXPECT_EQ(refCount(probe.get()), 1u);
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
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(base, moved);
    first = *&first; // of itself
    EXPECT_EQ(refCount(first.get()), 3u);
    const Probe* const raw = first.releasePtr();
    EXPECT_EQ(refCount(raw), 3u);
    raw->releaseRef();
    EXPECT_EQ(interfaceCast<IString>(moved), base);
    EXPECT_EQ(interfaceCast<IStringMap>(moved), nullptr);
    EXPECT_EQ(interfaceCast<IString>(static_cast<IRefCountable*>(nullptr)), nullptr);
}

TEST(Registry, hearsOfEachObject)
{
    class Registry : public IRefCountableRegistry
    {
    public:
        void notifyCreated(const IRefCountable* object, std::uint32_t refCount) override
        {
            EXPECT_EQ(refCount, 1u);
            created.push_back(object);
        }
        void notifyDestroyed(const IRefCountable* object, std::uint32_t refCount) override
        {
            EXPECT_EQ(refCount, 0u);
            destroyed.push_back(object);
        }

        std::vector<const IRefCountable*> created;
        std::vector<const IRefCountable*> destroyed;
    };

    Registry registry;
    libContext().setRefCountableRegistry(&registry);
    Ptr<Probe> probe = makePtr<Probe>();
    const IRefCountable* const address = probe.get();
    EXPECT_THAT(registry.created, testing::ElementsAre(address));
    EXPECT_THAT(registry.destroyed, testing::IsEmpty());
    probe.reset();
    EXPECT_THAT(registry.destroyed, testing::ElementsAre(address));
    testing::internal::CaptureStderr(); // about the registry that is set already
    libContext().setRefCountableRegistry(nullptr);
    testing::internal::GetCapturedStderr();
}

} // namespace

} // namespace tavo::sdk
