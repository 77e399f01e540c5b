// The host's parcel: the bytes of each kind of value, malformed data, positions, marshalling,
// binders and file descriptors, and status texts.

#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_status.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
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

// Bytes that must fail to read, and the status they give.
struct BadCase {
    const char* what;
    Bytes bytes;
    binder_status_t status;
};

// value is written as bytes and read back equal; every shorter prefix of bytes fails to read.
template <typename T>
void ExpectWire(const T& value, const Bytes& bytes) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    EXPECT_EQ(bytes, Encode(value));
    auto [status, decoded] = Decode<T>(bytes);
    EXPECT_EQ(STATUS_OK, status);
    EXPECT_EQ(value, decoded);
    for (size_t size = 0; size < bytes.size(); ++size) {
        EXPECT_NE(STATUS_OK, Decode<T>(Bytes(bytes.begin(), bytes.begin() + size)).first) << size;
    }
}

TEST(ParcelTest, Primitives_WireBytes) {
    ExpectWire<int32_t>(960, {0xC0, 0x03, 0, 0});
    ExpectWire<uint32_t>(0xDEADBEEF, {0xEF, 0xBE, 0xAD, 0xDE});
    ExpectWire<int64_t>(INT64_MIN + 1, {1, 0, 0, 0, 0, 0, 0, 0x80});
    ExpectWire<uint64_t>(UINT64_MAX - 1, {0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    ExpectWire<float>(0.5f, {0, 0, 0, 0x3F});
    ExpectWire<double>(-0.5, {0, 0, 0, 0, 0, 0, 0xE0, 0xBF});
    // Narrow values travel as an int32.
    ExpectWire<bool>(true, {1, 0, 0, 0});
    ExpectWire<int8_t>(-2, {0xFE, 0xFF, 0xFF, 0xFF});
    ExpectWire<char16_t>(u'€', {0xAC, 0x20, 0, 0});

    // A read that does not fit leaves the value and the position alone.
    ndk::ScopedAParcel parcel = Unmarshal(Bytes{1, 2, 3, 4});
    int64_t wide = 7;
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readInt64(parcel.get(), &wide));
    EXPECT_EQ(0, AParcel_getDataPosition(parcel.get()));
    EXPECT_EQ(7, wide);
    int8_t byte = 0;
    EXPECT_EQ(STATUS_OK, AParcel_readByte(parcel.get(), &byte));
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readByte(parcel.get(), &byte));
    EXPECT_EQ(1, byte);
}

TEST(ParcelTest, Strings_WireBytesAndBadInput) {
    // Count of UTF-16 units, the units, a 16-bit NUL, padding; a character outside the BMP is a
    // surrogate pair.
    ExpectWire(std::string(), {0, 0, 0, 0, 0, 0, 0, 0});
    ExpectWire(std::string("ab"), {2, 0, 0, 0, 'a', 0, 'b', 0, 0, 0, 0, 0});
    ExpectWire(std::string("\xC3\xA9"), {1, 0, 0, 0, 0xE9, 0, 0, 0});
    ExpectWire(std::string("\xE2\x82\xAC"), {1, 0, 0, 0, 0xAC, 0x20, 0, 0});
    ExpectWire(std::string("\xF0\x9F\x98\x80"), {2, 0, 0, 0, 0x3D, 0xD8, 0x00, 0xDE, 0, 0, 0, 0});
    ExpectWire(std::optional<std::string>(), {0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(STATUS_UNEXPECTED_NULL, Decode<std::string>(Bytes{0xFF, 0xFF, 0xFF, 0xFF}).first);

    ndk::ScopedAParcel parcel(AParcel_create());
    // Invalid UTF-8: a lone continuation byte, an overlong form, an encoded surrogate, a cut
    // sequence.
    for (const char* bad : {"\x80", "\xC0\xAF", "\xED\xA0\x80", "\xE2\x82"}) {
        EXPECT_EQ(STATUS_BAD_VALUE, AParcel_writeString(parcel.get(), bad, strlen(bad))) << bad;
    }
    EXPECT_EQ(STATUS_BAD_VALUE, AParcel_writeString(parcel.get(), nullptr, 3));
    EXPECT_EQ(0, AParcel_getDataSize(parcel.get()));
    const BadCase kCases[] = {
            {"count past the end", {5, 0, 0, 0, 'a', 0, 0, 0}, STATUS_NOT_ENOUGH_DATA},
            {"huge count", {0xFF, 0xFF, 0xFF, 0x7F, 0, 0, 0, 0}, STATUS_NOT_ENOUGH_DATA},
            {"count below -1", {0xFE, 0xFF, 0xFF, 0xFF}, STATUS_BAD_VALUE},
            {"no NUL", {1, 0, 0, 0, 'a', 0, 'b', 0}, STATUS_BAD_VALUE},
            {"unpaired surrogate", {1, 0, 0, 0, 0x00, 0xD8, 0, 0}, STATUS_BAD_VALUE},
    };
    for (const auto& c : kCases) EXPECT_EQ(c.status, Decode<std::string>(c.bytes).first) << c.what;
}

TEST(ParcelTest, Arrays_WireBytesAndBadCounts) {
    // byte[] is packed and padded; boolean[] and char[] take an int32 per element.
    ExpectWire(std::vector<uint8_t>{1, 2, 255}, {3, 0, 0, 0, 1, 2, 0xFF, 0});
    ExpectWire(std::vector<bool>{true, false}, {2, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0});
    ExpectWire(std::vector<char16_t>{u'z'}, {1, 0, 0, 0, 'z', 0, 0, 0});
    ExpectWire(std::vector<int64_t>{7}, {1, 0, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0});
    ExpectWire(std::vector<float>{-3.0f}, {1, 0, 0, 0, 0, 0, 0x40, 0xC0});
    ExpectWire(std::vector<int32_t>{}, {0, 0, 0, 0});
    ExpectWire(std::vector<std::string>{"a", ""},
               {2, 0, 0, 0, 1, 0, 0, 0, 'a', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    ExpectWire(std::optional<std::vector<int32_t>>(), {0xFF, 0xFF, 0xFF, 0xFF});
    ExpectWire(std::optional<std::vector<uint8_t>>(std::vector<uint8_t>{9, 8, 7, 6, 5}),
               {5, 0, 0, 0, 9, 8, 7, 6, 5, 0, 0, 0});

    const BadCase kCases[] = {
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
    EXPECT_EQ((Bytes{1, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0}), Marshal(parcel));

    EXPECT_EQ(STATUS_OK, AParcel_reset(parcel.get()));
    EXPECT_EQ(0, AParcel_getDataSize(parcel.get()));
    EXPECT_EQ(0, AParcel_getDataPosition(parcel.get()));
}

TEST(ParcelTest, Marshal_Ranges) {
    ndk::ScopedAParcel parcel = Unmarshal(Bytes{1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(0, AParcel_getDataPosition(parcel.get()));
    uint8_t buffer[8] = {};
    EXPECT_EQ(STATUS_OK, AParcel_marshal(parcel.get(), buffer, 2, 3));
    EXPECT_EQ((Bytes{3, 4, 5}), Bytes(buffer, buffer + 3));
    EXPECT_EQ(STATUS_OK, AParcel_marshal(parcel.get(), buffer, 8, 0));
    for (const auto& [start, length] :
         {std::pair<size_t, size_t>{0, 9}, {6, 3}, {SIZE_MAX, 2}, {2, SIZE_MAX}}) {
        EXPECT_EQ(STATUS_BAD_VALUE, AParcel_marshal(parcel.get(), buffer, start, length)) << start;
    }
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
    read.set(nullptr);

    // Overwriting the object's bytes drops the object, and the parcel marshals again; the end of
    // the parcel drops the objects it holds.
    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 0));
    ASSERT_EQ(STATUS_OK, AParcel_writeInt32(parcel.get(), 0));
    EXPECT_EQ(1, AIBinder_debugGetRefCount(binder.get()));
    EXPECT_EQ(STATUS_OK, AParcel_marshal(parcel.get(), buffer, 0, 28));
    ASSERT_EQ(STATUS_OK, AParcel_writeStrongBinder(parcel.get(), binder.get()));
    parcel.reset();
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
    // Bytes that claim a binder carry no object once copied: the read is refused.
    ASSERT_EQ(STATUS_OK, AParcel_unmarshal(copy.get(), Bytes(28, 0x41).data(), 28));
    EXPECT_EQ(STATUS_BAD_TYPE, AParcel_readStrongBinder(copy.get(), read.getR()));
    ASSERT_EQ(STATUS_OK, AParcel_unmarshal(copy.get(), bytes.data(), 20));
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readStrongBinder(copy.get(), read.getR()));
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

TEST(ParcelTest, ScopedAStatus_Description) {
    EXPECT_EQ("No error", ndk::ScopedAStatus::ok().getDescription());
    EXPECT_TRUE(ndk::ScopedAStatus::fromStatus(STATUS_OK).isOk());
    const auto specific = ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(3, "no port");
    EXPECT_FALSE(specific.isOk());
    EXPECT_EQ(3, specific.getServiceSpecificError());
    EXPECT_EQ(STATUS_OK, specific.getStatus());
    EXPECT_EQ("Status(-8, EX_SERVICE_SPECIFIC): '3: no port'", specific.getDescription());
    const auto failed = ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT);
    EXPECT_EQ(EX_TRANSACTION_FAILED, failed.getExceptionCode());
    EXPECT_EQ(STATUS_DEAD_OBJECT, failed.getStatus());
    EXPECT_EQ("Status(-129, EX_TRANSACTION_FAILED): '-32: '", failed.getDescription());
}

}  // namespace
