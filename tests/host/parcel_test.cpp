// The host's parcel: the bytes of each kind of value and of malformed data (golden entries in
// tests/data/parcel.txt), lenient UTF-8, positions, marshalling, the objects that binders and file
// descriptors leave in a parcel, and status texts.

#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>
#include <android/binder_status.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "parcel_golden.h"

namespace {

using namespace autl::test;

TEST(ParcelTest, GoldenBytes) {
    ExpectGoldenParcels(
            "parcel.txt",
            AUTL_READERS(int32_t, int64_t, float, double, bool, int8_t, char16_t, std::string,
                         std::optional<std::string>, std::vector<uint8_t>, std::vector<bool>,
                         std::vector<char16_t>, std::vector<int32_t>, std::vector<int64_t>,
                         std::vector<float>, std::vector<std::string>,
                         std::optional<std::vector<int32_t>>, std::optional<std::vector<uint8_t>>,
                         ndk::SpAIBinder, ndk::ScopedFileDescriptor));
}

// A read that does not fit leaves the position alone, and the value too, except that narrow values
// are set to zero, as on the platform.
TEST(ParcelTest, FailedRead_KeepsPositionAndWideValues) {
    ndk::ScopedAParcel parcel = Unmarshal(Bytes{1, 2, 3, 4});
    int64_t wide = 7;
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readInt64(parcel.get(), &wide));
    EXPECT_EQ(0, AParcel_getDataPosition(parcel.get()));
    EXPECT_EQ(7, wide);
    int8_t byte = 0;
    EXPECT_EQ(STATUS_OK, AParcel_readByte(parcel.get(), &byte));
    EXPECT_EQ(1, byte);
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readByte(parcel.get(), &byte));
    EXPECT_EQ(0, byte);
}

// UTF-8 is converted as leniently as on the platform: only a sequence cut off by the end fails. A
// lone continuation byte stays a character, an overlong form is decoded, an encoded surrogate is
// written as it is. Counts that disagree with the data are refused.
TEST(ParcelTest, Writes_LenientUtf8AndCountsChecked) {
    const struct {
        const char* utf8;
        Bytes wire;  // empty: STATUS_BAD_VALUE
    } kWrites[] = {
            {"\x80", {1, 0, 0, 0, 0x80, 0, 0, 0}},
            {"\xC0\xAF", {1, 0, 0, 0, '/', 0, 0, 0}},
            {"\xED\xA0\x80", {1, 0, 0, 0, 0x00, 0xD8, 0, 0}},
            {"a\xE2\x82", {}},
    };
    for (const auto& c : kWrites) {
        ndk::ScopedAParcel parcel(AParcel_create());
        EXPECT_EQ(c.wire.empty() ? STATUS_BAD_VALUE : STATUS_OK,
                  AParcel_writeString(parcel.get(), c.utf8, strlen(c.utf8)))
                << c.utf8;
        EXPECT_EQ(c.wire, Marshal(parcel.get())) << c.utf8;
    }
    ndk::ScopedAParcel parcel(AParcel_create());
    const int32_t one = 1;
    EXPECT_EQ(STATUS_BAD_VALUE, AParcel_writeString(parcel.get(), nullptr, 3));
    EXPECT_EQ(STATUS_BAD_VALUE, AParcel_writeString(parcel.get(), "a", -1));
    EXPECT_EQ(STATUS_BAD_VALUE, AParcel_writeInt32Array(parcel.get(), &one, -1));
    EXPECT_EQ(STATUS_BAD_VALUE, AParcel_writeInt32Array(parcel.get(), nullptr, 1));
    EXPECT_EQ(0, AParcel_getDataSize(parcel.get()));
}

TEST(ParcelTest, DataPositionAndMarshal_Bounds) {
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
    // Writing inside the data overwrites in place.
    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 4));
    ASSERT_EQ(STATUS_OK, AParcel_writeInt32(parcel.get(), 3));
    EXPECT_EQ((Bytes{1, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0}), Marshal(parcel.get()));

    uint8_t buffer[8] = {};
    EXPECT_EQ(STATUS_OK, AParcel_marshal(parcel.get(), buffer, 3, 2));
    EXPECT_EQ((Bytes{0, 3}), Bytes(buffer, buffer + 2));
    for (const auto& [start, length] : {std::pair<size_t, size_t>{14, 3}, {2, SIZE_MAX}}) {
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
    static binder_status_t OnTransact(AIBinder*, transaction_code_t, const AParcel*, AParcel*) {
        return STATUS_UNKNOWN_TRANSACTION;
    }
};

TEST(ParcelTest, Binder_SameObjectBackAndNoMarshal) {
    // As on the platform, a class needs all its callbacks.
    EXPECT_EQ(nullptr, AIBinder_Class_define("test.INone", CountingClass::OnCreate,
                                             CountingClass::OnDestroy, nullptr));
    // Classes live as long as the process.
    static const AIBinder_Class* const kClass =
            AIBinder_Class_define("test.ICounting", CountingClass::OnCreate,
                                  CountingClass::OnDestroy, CountingClass::OnTransact);
    int payload = 0;
    ndk::SpAIBinder binder(AIBinder_new(kClass, &payload));
    ASSERT_EQ(1, CountingClass::live);
    ndk::ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(STATUS_OK, AParcel_writeStrongBinder(parcel.get(), binder.get()));
    EXPECT_EQ(28, AParcel_getDataSize(parcel.get()));
    EXPECT_EQ(2, AIBinder_debugGetRefCount(binder.get()));
    uint8_t buffer[28];
    EXPECT_EQ(STATUS_INVALID_OPERATION, AParcel_marshal(parcel.get(), buffer, 0, 28));
    // A plain read over the object's bytes is refused and moves past them, as on the platform.
    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 8));
    int64_t plain = 0;
    EXPECT_EQ(STATUS_PERMISSION_DENIED, AParcel_readInt64(parcel.get(), &plain));
    EXPECT_EQ(16, AParcel_getDataPosition(parcel.get()));

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
    parcel.set(nullptr);
    EXPECT_EQ(1, AIBinder_debugGetRefCount(binder.get()));
    binder.set(nullptr);
    EXPECT_EQ(0, CountingClass::live);
}

TEST(ParcelTest, FileDescriptor_DuplicatedBothWays) {
    int pipe_fds[2];
    ASSERT_EQ(0, pipe(pipe_fds));
    ndk::ScopedFileDescriptor reader(pipe_fds[0]);
    ndk::ScopedFileDescriptor writer(pipe_fds[1]);

    ndk::ScopedAParcel parcel(AParcel_create());
    // Null is the int32 0; a descriptor the int32 1, the int32 0 of a ParcelFileDescriptor
    // without a communication channel, and the object.
    ASSERT_EQ(STATUS_OK, AParcel_writeParcelFileDescriptor(parcel.get(), -1));
    ASSERT_EQ(STATUS_OK, AParcel_writeParcelFileDescriptor(parcel.get(), reader.get()));
    EXPECT_EQ(4 + 4 + 4 + 24, AParcel_getDataSize(parcel.get()));
    EXPECT_EQ(STATUS_UNKNOWN_ERROR, AParcel_writeParcelFileDescriptor(parcel.get(), -5));
    EXPECT_TRUE(Marshal(parcel.get()).empty());

    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 0));
    int absent = 0;
    int fd = -1;
    EXPECT_EQ(STATUS_OK, AParcel_readParcelFileDescriptor(parcel.get(), &absent));
    EXPECT_EQ(-1, absent);
    ASSERT_EQ(STATUS_OK, AParcel_readParcelFileDescriptor(parcel.get(), &fd));
    ndk::ScopedFileDescriptor read(fd);
    EXPECT_NE(reader.get(), read.get());

    // The parcel's own copy lives until the parcel does; the caller's copy until its owner does.
    parcel.set(nullptr);
    ASSERT_EQ(1, write(writer.get(), "x", 1));
    char byte = 0;
    EXPECT_EQ(1, ::read(read.get(), &byte, 1));
    read.set(-1);
    EXPECT_EQ(-1, fcntl(fd, F_GETFD));

    // A descriptor that cannot be duplicated fails after the not-null marker, as on the device.
    parcel.set(AParcel_create());
    EXPECT_EQ(STATUS_UNKNOWN_ERROR, AParcel_writeParcelFileDescriptor(parcel.get(), fd));
    EXPECT_EQ(4, AParcel_getDataSize(parcel.get()));
}

TEST(ParcelTest, ScopedAStatus_Description) {
    EXPECT_FALSE(ndk::ScopedAStatus().isOk());  // as on the platform: only ok() is ok
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
