#pragma once

#include <Tests/Support/SceneFileTest.h>
#include <Tests/Support/TestRow.h>

#include <algorithm>

/// Bytes of a file, each part as its type says: integers, floats, doubles, flags, texts, or bytes as they are.
/// In braces the parts are made from left to right.
class Packed : public Bytes
{
public:
    template <class... Parts> explicit Packed(const Parts&... parts) { (Put(parts), ...); }

private:
    void Put(int value) { Int(value); }
    void Put(float value) { Float(value); }
    void Put(double value) { Double(value); }
    void Put(bool value) { Byte(value ? 1 : 0); }
    void Put(const char16_t* text) { Text(text); }
    void Put(const Bytes& bytes) { Add(bytes); }
};

/// One class's record: objects that hold known values, and their bytes put together by hand.
///
/// Variant 0 is a new object; 1 and 2 hold different values, but buffers and texts of the same lengths, so
/// that their bytes differ in place only.
struct Record : TestRow
{
    std::size_t plain; ///< Bytes before the first object reference or list: the whole record where there is none.
    std::function<SceneFileTest::Run(float variant)> make; ///< What stores or loads a new object of that variant.
    std::function<Bytes(float variant)> bytes;
};

template <class T>
Record MakeRecord(const char* what, std::size_t plain, std::function<void(T&, float variant)> fill,
                  std::function<Bytes(float variant)> bytes)
{
    const auto make = [fill](float variant) {
        const auto object = std::make_shared<T>();
        if (variant != 0)
            fill(*object, variant);
        return [object](Kelvra::ASceneSerializeContext& context) { object->Serialize(context); };
    };
    return {{what}, plain, make, std::move(bytes)};
}

class RecordTest : public SceneFileTestWith<Record>
{
protected:
    /// Objects store as the bytes say, and what is loaded stores as the same bytes again.
    void ExpectBothDirections()
    {
        for (const float variant : {1.0F, 2.0F}) {
            SCOPED_TRACE(variant);
            const Bytes expected = GetParam().bytes(variant);
            EXPECT_EQ(Store(GetParam().make(variant)), expected);
            const auto loaded = GetParam().make(0);
            Load(expected, loaded);
            EXPECT_EQ(Store(loaded), expected);
        }
        EXPECT_EQ(TakeReports(), Reports());
    }

    /// A record that ends early gives what is there and leaves the rest of the fields as they were, to the
    /// byte; only references say anything about it.
    void ExpectPrefixesLoad()
    {
        const std::size_t plain = GetParam().plain;
        const Bytes record = GetParam().bytes(1);
        const Bytes former = GetParam().bytes(2);
        for (std::size_t size = 0; size < record.Size() && !HasFailure(); ++size) {
            SCOPED_TRACE(size);
            const auto object = GetParam().make(2);
            Load(record.First(size), object);
            EXPECT_TRUE(TakeReports().empty() || size > plain);
            const std::size_t reached = std::min(size, plain);
            const Bytes expected(record.Data().substr(0, reached) + former.Data().substr(reached, plain - reached));
            EXPECT_EQ(Store(object).First(plain), expected);
        }
    }
};
