#include <android/binder_auto_utils.h>
#include <android/binder_interface_utils.h>
#include <android/binder_parcel.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_status.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<uint8_t>;

Bytes Marshal(const ndk::ScopedAParcel& parcel) {
    Bytes bytes(AParcel_getDataSize(parcel.get()));
    EXPECT_EQ(STATUS_OK, AParcel_marshal(parcel.get(), bytes.data(), 0, bytes.size()));
    return bytes;
}

ndk::ScopedAParcel Unmarshal(const Bytes& bytes) {
    ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(STATUS_OK, AParcel_unmarshal(parcel.get(), bytes.data(), bytes.size()));
    return parcel;
}

// Writes value with the C++ helpers and returns the parcel's bytes.
template <typename T>
Bytes Encode(const T& value) {
    ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(STATUS_OK, ndk::AParcel_writeData(parcel.get(), value));
    return Marshal(parcel);
}

// Reads a T from bytes with the C++ helpers; the status and, on success, the value.
template <typename T>
std::pair<binder_status_t, T> Decode(const Bytes& bytes) {
    ndk::ScopedAParcel parcel = Unmarshal(bytes);
    T value{};
    binder_status_t status = ndk::AParcel_readData(parcel.get(), &value);
    return {status, std::move(value)};
}

TEST(ParcelTest, Primitives_WireBytes) {
    EXPECT_EQ((Bytes{0xC0, 0x03, 0, 0}), Encode<int32_t>(960));
    EXPECT_EQ((Bytes{0xFF, 0xFF, 0xFF, 0xFF}), Encode<int32_t>(-1));
    EXPECT_EQ((Bytes{1, 0, 0, 0, 0, 0, 0, 0x80}), Encode<int64_t>(INT64_MIN + 1));
    EXPECT_EQ((Bytes{0, 0, 0, 0x3F}), Encode<float>(0.5f));
    EXPECT_EQ((Bytes{0, 0, 0, 0, 0, 0, 0xE0, 0x3F}), Encode<double>(0.5));
    // Narrow values travel as an int32.
    EXPECT_EQ((Bytes{1, 0, 0, 0}), Encode<bool>(true));
    EXPECT_EQ((Bytes{0xFE, 0xFF, 0xFF, 0xFF}), Encode<int8_t>(-2));
    EXPECT_EQ((Bytes{0xAC, 0x20, 0, 0}), Encode<char16_t>(u'€'));
}

TEST(ParcelTest, Primitives_RoundTripAndTruncation) {
    ndk::ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(STATUS_OK, AParcel_writeInt32(parcel.get(), -7));
    ASSERT_EQ(STATUS_OK, AParcel_writeUint32(parcel.get(), 0xDEADBEEF));
    ASSERT_EQ(STATUS_OK, AParcel_writeInt64(parcel.get(), -(int64_t{1} << 40)));
    ASSERT_EQ(STATUS_OK, AParcel_writeUint64(parcel.get(), UINT64_MAX));
    ASSERT_EQ(STATUS_OK, AParcel_writeFloat(parcel.get(), -1.25f));
    ASSERT_EQ(STATUS_OK, AParcel_writeDouble(parcel.get(), 1e300));
    ASSERT_EQ(STATUS_OK, AParcel_writeBool(parcel.get(), true));
    ASSERT_EQ(STATUS_OK, AParcel_writeChar(parcel.get(), u'x'));
    ASSERT_EQ(STATUS_OK, AParcel_writeByte(parcel.get(), -128));
    EXPECT_EQ(48, AParcel_getDataSize(parcel.get()));
    EXPECT_EQ(48, AParcel_getDataPosition(parcel.get()));

    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 0));
    int32_t i32 = 0;
    uint32_t u32 = 0;
    int64_t i64 = 0;
    uint64_t u64 = 0;
    float f = 0;
    double d = 0;
    bool b = false;
    char16_t c = 0;
    int8_t byte = 0;
    EXPECT_EQ(STATUS_OK, AParcel_readInt32(parcel.get(), &i32));
    EXPECT_EQ(STATUS_OK, AParcel_readUint32(parcel.get(), &u32));
    EXPECT_EQ(STATUS_OK, AParcel_readInt64(parcel.get(), &i64));
    EXPECT_EQ(STATUS_OK, AParcel_readUint64(parcel.get(), &u64));
    EXPECT_EQ(STATUS_OK, AParcel_readFloat(parcel.get(), &f));
    EXPECT_EQ(STATUS_OK, AParcel_readDouble(parcel.get(), &d));
    EXPECT_EQ(STATUS_OK, AParcel_readBool(parcel.get(), &b));
    EXPECT_EQ(STATUS_OK, AParcel_readChar(parcel.get(), &c));
    EXPECT_EQ(STATUS_OK, AParcel_readByte(parcel.get(), &byte));
    EXPECT_EQ(-7, i32);
    EXPECT_EQ(0xDEADBEEF, u32);
    EXPECT_EQ(-(int64_t{1} << 40), i64);
    EXPECT_EQ(UINT64_MAX, u64);
    EXPECT_EQ(-1.25f, f);
    EXPECT_EQ(1e300, d);
    EXPECT_TRUE(b);
    EXPECT_EQ(u'x', c);
    EXPECT_EQ(-128, byte);

    // At the end every read fails and leaves its value alone.
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readInt32(parcel.get(), &i32));
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readBool(parcel.get(), &b));
    EXPECT_EQ(-7, i32);
    EXPECT_TRUE(b);
    // Four bytes left are not enough for an int64, and the position stays.
    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 44));
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readInt64(parcel.get(), &i64));
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readDouble(parcel.get(), &d));
    EXPECT_EQ(44, AParcel_getDataPosition(parcel.get()));
    EXPECT_EQ(STATUS_OK, AParcel_readByte(parcel.get(), &byte));
}

TEST(ParcelTest, Strings_WireBytes) {
    // Count of UTF-16 units, the units, a 16-bit NUL, padding.
    EXPECT_EQ((Bytes{0, 0, 0, 0, 0, 0, 0, 0}), Encode(std::string()));
    EXPECT_EQ((Bytes{2, 0, 0, 0, 'a', 0, 'b', 0, 0, 0, 0, 0}), Encode(std::string("ab")));
    EXPECT_EQ((Bytes{1, 0, 0, 0, 0xAC, 0x20, 0, 0}), Encode(std::string("€")));
    // A character outside the BMP is a surrogate pair.
    EXPECT_EQ((Bytes{2, 0, 0, 0, 0x3D, 0xD8, 0x00, 0xDE, 0, 0, 0, 0}),
              Encode(std::string("\xF0\x9F\x98\x80")));
    EXPECT_EQ((Bytes{0xFF, 0xFF, 0xFF, 0xFF}), Encode(std::optional<std::string>()));

    for (const std::string& text : {std::string(""), std::string("burst"),
                                    std::string("h\xC3\xA9llo \xE2\x82\xAC \xF0\x9F\x98\x80")}) {
        auto [status, decoded] = Decode<std::string>(Encode(text));
        EXPECT_EQ(STATUS_OK, status);
        EXPECT_EQ(text, decoded);
    }
    auto [status, absent] = Decode<std::optional<std::string>>(Bytes{0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(STATUS_OK, status);
    EXPECT_FALSE(absent.has_value());
    EXPECT_EQ(STATUS_UNEXPECTED_NULL, Decode<std::string>(Bytes{0xFF, 0xFF, 0xFF, 0xFF}).first);
}

TEST(ParcelTest, Strings_BadInput) {
    ndk::ScopedAParcel parcel(AParcel_create());
    // Invalid UTF-8: a lone continuation byte, an overlong form, an encoded surrogate, a cut
    // sequence.
    for (const char* bad : {"\x80", "\xC0\xAF", "\xED\xA0\x80", "\xE2\x82"}) {
        EXPECT_EQ(STATUS_BAD_VALUE, AParcel_writeString(parcel.get(), bad, strlen(bad))) << bad;
    }
    EXPECT_EQ(STATUS_BAD_VALUE, AParcel_writeString(parcel.get(), nullptr, 3));
    EXPECT_EQ(0, AParcel_getDataSize(parcel.get()));

    const struct {
        const char* what;
        Bytes bytes;
        binder_status_t status;
    } kCases[] = {
            {"no count", {1, 0}, STATUS_NOT_ENOUGH_DATA},
            {"count past the end", {5, 0, 0, 0, 'a', 0, 0, 0}, STATUS_NOT_ENOUGH_DATA},
            {"huge count", {0xFF, 0xFF, 0xFF, 0x7F, 0, 0, 0, 0}, STATUS_NOT_ENOUGH_DATA},
            {"count below -1", {0xFE, 0xFF, 0xFF, 0xFF}, STATUS_BAD_VALUE},
            {"no NUL", {1, 0, 0, 0, 'a', 0, 'b', 0}, STATUS_BAD_VALUE},
            {"unpaired surrogate", {1, 0, 0, 0, 0x00, 0xD8, 0, 0}, STATUS_BAD_VALUE},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(c.status, Decode<std::string>(c.bytes).first) << c.what;
    }
}

TEST(ParcelTest, Arrays_WireBytesAndRoundTrip) {
    // byte[] is packed and padded; boolean[] and char[] take an int32 per element.
    EXPECT_EQ((Bytes{3, 0, 0, 0, 1, 2, 0xFF, 0}), Encode(std::vector<uint8_t>{1, 2, 255}));
    EXPECT_EQ((Bytes{2, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0}), Encode(std::vector<bool>{true, false}));
    EXPECT_EQ((Bytes{1, 0, 0, 0, 'z', 0, 0, 0}), Encode(std::vector<char16_t>{u'z'}));
    EXPECT_EQ((Bytes{1, 0, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0}), Encode(std::vector<int64_t>{7}));
    EXPECT_EQ((Bytes{0, 0, 0, 0}), Encode(std::vector<int32_t>{}));
    EXPECT_EQ((Bytes{0xFF, 0xFF, 0xFF, 0xFF}), Encode(std::optional<std::vector<int32_t>>()));

    const std::vector<int32_t> ints{1, -2, INT32_MAX};
    EXPECT_EQ(ints, Decode<std::vector<int32_t>>(Encode(ints)).second);
    const std::vector<float> floats{0.5f, -3.0f};
    EXPECT_EQ(floats, Decode<std::vector<float>>(Encode(floats)).second);
    const std::vector<bool> bools{true, false, true};
    EXPECT_EQ(bools, Decode<std::vector<bool>>(Encode(bools)).second);
    const std::vector<std::string> strings{"a", "", "\xC3\xA9t\xC3\xA9"};
    EXPECT_EQ(strings, Decode<std::vector<std::string>>(Encode(strings)).second);
    const std::optional<std::vector<uint8_t>> bytes = std::vector<uint8_t>{9, 8, 7, 6, 5};
    EXPECT_EQ(bytes, Decode<std::optional<std::vector<uint8_t>>>(Encode(bytes)).second);
}

TEST(ParcelTest, Arrays_BadCounts) {
    const struct {
        const char* what;
        Bytes bytes;
        binder_status_t status;
    } kCases[] = {
            {"huge count", {0xFF, 0xFF, 0xFF, 0x7F, 1, 0, 0, 0}, STATUS_NOT_ENOUGH_DATA},
            {"one element short", {2, 0, 0, 0, 1, 0, 0, 0}, STATUS_NOT_ENOUGH_DATA},
            {"count below -1", {0xF0, 0xFF, 0xFF, 0xFF}, STATUS_BAD_VALUE},
            {"null where required", {0xFF, 0xFF, 0xFF, 0xFF}, STATUS_UNEXPECTED_NULL},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(c.status, Decode<std::vector<int32_t>>(c.bytes).first) << c.what;
        EXPECT_EQ(c.status, Decode<std::vector<std::string>>(c.bytes).first) << c.what;
        EXPECT_EQ(c.status, Decode<std::vector<bool>>(c.bytes).first) << c.what;
    }
    // Five packed bytes need eight bytes of data.
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA,
              (Decode<std::vector<uint8_t>>(Bytes{5, 0, 0, 0, 1, 2, 3, 4, 5}).first));
}

TEST(ParcelTest, DataPosition_Bounds) {
    ndk::ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(STATUS_OK, AParcel_writeInt32(parcel.get(), 1));
    EXPECT_EQ(STATUS_BAD_VALUE, AParcel_setDataPosition(parcel.get(), -1));
    EXPECT_EQ(4, AParcel_getDataPosition(parcel.get()));

    // Past the end reads fail; a write there grows the data and the gap reads as zeros.
    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 12));
    int32_t value = 5;
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readInt32(parcel.get(), &value));
    EXPECT_EQ(12, AParcel_getDataSize(parcel.get()));
    ASSERT_EQ(STATUS_OK, AParcel_writeInt32(parcel.get(), 2));
    EXPECT_EQ((Bytes{1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0}), Marshal(parcel));

    // Writing inside the data overwrites in place.
    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 4));
    ASSERT_EQ(STATUS_OK, AParcel_writeInt32(parcel.get(), 3));
    EXPECT_EQ(16, AParcel_getDataSize(parcel.get()));
    EXPECT_EQ(3, Marshal(parcel)[4]);

    EXPECT_EQ(STATUS_OK, AParcel_reset(parcel.get()));
    EXPECT_EQ(0, AParcel_getDataSize(parcel.get()));
    EXPECT_EQ(0, AParcel_getDataPosition(parcel.get()));
}

TEST(ParcelTest, Marshal_RangesAndUnmarshal) {
    ndk::ScopedAParcel parcel = Unmarshal(Bytes{1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(8, AParcel_getDataSize(parcel.get()));
    EXPECT_EQ(0, AParcel_getDataPosition(parcel.get()));
    uint8_t buffer[8] = {};
    EXPECT_EQ(STATUS_OK, AParcel_marshal(parcel.get(), buffer, 2, 3));
    EXPECT_EQ((Bytes{3, 4, 5}), Bytes(buffer, buffer + 3));
    EXPECT_EQ(STATUS_OK, AParcel_marshal(parcel.get(), buffer, 8, 0));
    EXPECT_EQ(STATUS_BAD_VALUE, AParcel_marshal(parcel.get(), buffer, 0, 9));
    EXPECT_EQ(STATUS_BAD_VALUE, AParcel_marshal(parcel.get(), buffer, 6, 3));
    EXPECT_EQ(STATUS_BAD_VALUE, AParcel_marshal(parcel.get(), buffer, SIZE_MAX, 2));
    EXPECT_EQ(STATUS_BAD_VALUE, AParcel_marshal(parcel.get(), buffer, 2, SIZE_MAX));
}

// A binder class whose user data counts the live binders.
struct CountingClass {
    static inline int live = 0;
    static void* OnCreate(void* args) {
        ++live;
        return args;
    }
    static void OnDestroy(void*) { --live; }
    static const AIBinder_Class* Get() {
        static AIBinder_Class* clazz =
                AIBinder_Class_define("test.ICounting", OnCreate, OnDestroy, nullptr);
        return clazz;
    }
};

TEST(ParcelTest, Binder_SameObjectBackAndNoMarshal) {
    int payload = 0;
    ndk::SpAIBinder binder(AIBinder_new(CountingClass::Get(), &payload));
    ASSERT_EQ(1, CountingClass::live);
    {
        ndk::ScopedAParcel parcel(AParcel_create());
        ASSERT_EQ(STATUS_OK, AParcel_writeStrongBinder(parcel.get(), binder.get()));
        EXPECT_EQ(28, AParcel_getDataSize(parcel.get()));
        EXPECT_EQ(2, AIBinder_debugGetRefCount(binder.get()));
        uint8_t buffer[28];
        EXPECT_EQ(STATUS_INVALID_OPERATION, AParcel_marshal(parcel.get(), buffer, 0, 28));

        ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 0));
        ndk::SpAIBinder read;
        ASSERT_EQ(STATUS_OK, AParcel_readStrongBinder(parcel.get(), read.getR()));
        EXPECT_EQ(binder.get(), read.get());
        EXPECT_EQ(&payload, AIBinder_getUserData(read.get()));
        EXPECT_EQ(3, AIBinder_debugGetRefCount(binder.get()));
    }
    EXPECT_EQ(1, AIBinder_debugGetRefCount(binder.get()));
    binder.set(nullptr);
    EXPECT_EQ(0, CountingClass::live);
}

TEST(ParcelTest, Binder_NullMarshalsAndForeignBytesFail) {
    ndk::ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(STATUS_OK, AParcel_writeStrongBinder(parcel.get(), nullptr));
    const Bytes bytes = Marshal(parcel);
    EXPECT_EQ(28u, bytes.size());
    EXPECT_EQ((Bytes{0x85, 0x2A, 0x62, 0x73}), Bytes(bytes.begin(), bytes.begin() + 4));

    ndk::ScopedAParcel copy = Unmarshal(bytes);
    ndk::SpAIBinder read(AIBinder_new(CountingClass::Get(), nullptr));
    EXPECT_EQ(STATUS_OK, AParcel_readStrongBinder(copy.get(), read.getR()));
    EXPECT_EQ(nullptr, read.get());

    // Bytes of a non-null binder carry no object once copied: the read is refused.
    int payload = 0;
    ndk::SpAIBinder binder(AIBinder_new(CountingClass::Get(), &payload));
    ndk::ScopedAParcel live(AParcel_create());
    ASSERT_EQ(STATUS_OK, AParcel_writeStrongBinder(live.get(), binder.get()));
    ASSERT_EQ(STATUS_OK, AParcel_unmarshal(copy.get(), Bytes(28, 0x41).data(), 28));
    EXPECT_EQ(STATUS_BAD_TYPE, AParcel_readStrongBinder(copy.get(), read.getR()));
    ASSERT_EQ(STATUS_OK, AParcel_unmarshal(copy.get(), bytes.data(), 20));
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readStrongBinder(copy.get(), read.getR()));

    // Overwriting an object's bytes drops the object.
    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(live.get(), 0));
    ASSERT_EQ(STATUS_OK, AParcel_writeInt32(live.get(), 0));
    EXPECT_EQ(1, AIBinder_debugGetRefCount(binder.get()));
    uint8_t buffer[28];
    EXPECT_EQ(STATUS_OK, AParcel_marshal(live.get(), buffer, 0, 28));
}

TEST(ParcelTest, FileDescriptor_DuplicatedBothWays) {
    int pipe_fds[2];
    ASSERT_EQ(0, pipe(pipe_fds));
    ndk::ScopedFileDescriptor reader(pipe_fds[0]);
    ndk::ScopedFileDescriptor writer(pipe_fds[1]);

    ndk::ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(STATUS_OK, AParcel_writeParcelFileDescriptor(parcel.get(), -1));
    ASSERT_EQ(STATUS_OK, AParcel_writeParcelFileDescriptor(parcel.get(), reader.get()));
    EXPECT_EQ(4 + 4 + 24, AParcel_getDataSize(parcel.get()));
    EXPECT_EQ(STATUS_BAD_VALUE, AParcel_writeParcelFileDescriptor(parcel.get(), -5));
    uint8_t buffer[32];
    EXPECT_EQ(STATUS_INVALID_OPERATION, AParcel_marshal(parcel.get(), buffer, 0, 4));

    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 0));
    int absent = 0;
    int fd = -1;
    EXPECT_EQ(STATUS_OK, AParcel_readParcelFileDescriptor(parcel.get(), &absent));
    EXPECT_EQ(-1, absent);
    ASSERT_EQ(STATUS_OK, AParcel_readParcelFileDescriptor(parcel.get(), &fd));
    ndk::ScopedFileDescriptor read(fd);
    EXPECT_NE(reader.get(), read.get());
    struct stat original, copy;
    ASSERT_EQ(0, fstat(reader.get(), &original));
    ASSERT_EQ(0, fstat(read.get(), &copy));
    EXPECT_EQ(original.st_ino, copy.st_ino);

    // The parcel's own copy lives until the parcel does; the caller's copy until its owner does.
    parcel.reset();
    ASSERT_EQ(1, write(writer.get(), "x", 1));
    char byte = 0;
    EXPECT_EQ(1, ::read(read.get(), &byte, 1));
    read.reset();
    EXPECT_EQ(-1, fcntl(fd, F_GETFD));

    // Foreign bytes claiming a descriptor are refused.
    ndk::ScopedAParcel foreign = Unmarshal(Bytes{1, 0, 0, 0, 0x85, 0x2A, 0x64, 0x66});
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readParcelFileDescriptor(foreign.get(), &fd));
    foreign = Unmarshal(Bytes(28, 1));
    EXPECT_EQ(STATUS_BAD_TYPE, AParcel_readParcelFileDescriptor(foreign.get(), &fd));
}

TEST(ParcelTest, ScopedAParcel_MoveOnlyOwner) {
    static_assert(!std::is_copy_constructible_v<ndk::ScopedAParcel>);
    static_assert(!std::is_copy_assignable_v<ndk::ScopedAParcel>);
    static_assert(std::is_nothrow_move_constructible_v<ndk::ScopedAParcel>);
    ndk::ScopedAParcel parcel(AParcel_create());
    AParcel* raw = parcel.get();
    ndk::ScopedAParcel moved = std::move(parcel);
    EXPECT_EQ(nullptr, parcel.get());
    EXPECT_EQ(raw, moved.get());
    AParcel* released = moved.release();
    EXPECT_EQ(nullptr, moved.get());
    moved.reset(released);
    EXPECT_EQ(raw, moved.get());
}

TEST(ParcelTest, ScopedAStatus_Description) {
    EXPECT_TRUE(ndk::ScopedAStatus::ok().isOk());
    EXPECT_EQ("No error", ndk::ScopedAStatus::ok().getDescription());
    const auto specific = ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(3, "no port");
    EXPECT_FALSE(specific.isOk());
    EXPECT_EQ(3, specific.getServiceSpecificError());
    EXPECT_EQ(STATUS_OK, specific.getStatus());
    EXPECT_EQ("Status(-8, EX_SERVICE_SPECIFIC): '3: no port'", specific.getDescription());
    const auto failed = ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT);
    EXPECT_EQ(EX_TRANSACTION_FAILED, failed.getExceptionCode());
    EXPECT_EQ(STATUS_DEAD_OBJECT, failed.getStatus());
    EXPECT_EQ("Status(-129, EX_TRANSACTION_FAILED): '-32: '", failed.getDescription());
    EXPECT_TRUE(ndk::ScopedAStatus::fromStatus(STATUS_OK).isOk());
}

}  // namespace
