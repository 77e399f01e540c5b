#pragma once

// AParcel: a buffer of values in the Binder wire format (little-endian, every value padded to 4
// bytes) with a read/write position, plus the binder and file-descriptor objects it carries. Every
// read checks the remaining data and fails with a status instead of reading out of bounds.
//
//   AParcel* parcel = AParcel_create();
//   AParcel_writeInt32(parcel, 960);
//   AParcel_setDataPosition(parcel, 0);
//   int32_t value;
//   binder_status_t status = AParcel_readInt32(parcel, &value);   // STATUS_OK, 960
//   AParcel_delete(parcel);
//
// A parcel is not thread-safe; reads take a const AParcel* but move its position.

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <uchar.h>

#include <android/binder_status.h>

#ifdef __cplusplus
extern "C" {
#endif

struct AParcel;
typedef struct AParcel AParcel;
struct AIBinder;
typedef struct AIBinder AIBinder;

AParcel* AParcel_create(void);
// Releases the parcel, its objects' references and descriptors. Null is fine.
void AParcel_delete(AParcel* parcel);
// Empties the parcel: no data, no objects, position 0.
binder_status_t AParcel_reset(AParcel* parcel);

// The larger of the data's end and the position.
int32_t AParcel_getDataSize(const AParcel* parcel);
int32_t AParcel_getDataPosition(const AParcel* parcel);
// STATUS_BAD_VALUE for a negative position. A position past the data is allowed: a write there
// grows the data (the gap reads as zeros), a read there fails.
binder_status_t AParcel_setDataPosition(const AParcel* parcel, int32_t position);

// Copies len bytes of the data from start into buffer. STATUS_INVALID_OPERATION when the parcel
// holds binder or file-descriptor objects (they do not survive a copy of bytes), STATUS_BAD_VALUE
// when the range is not inside the data.
binder_status_t AParcel_marshal(const AParcel* parcel, uint8_t* buffer, size_t start, size_t len);
// Replaces the data with a copy of buffer (no objects), position 0.
binder_status_t AParcel_unmarshal(AParcel* parcel, const uint8_t* buffer, size_t len);

// Primitives. bool, char16_t and int8_t travel as an int32. Reads past the end of the data give
// STATUS_NOT_ENOUGH_DATA and leave the value alone.
binder_status_t AParcel_writeInt32(AParcel* parcel, int32_t value);
binder_status_t AParcel_writeUint32(AParcel* parcel, uint32_t value);
binder_status_t AParcel_writeInt64(AParcel* parcel, int64_t value);
binder_status_t AParcel_writeUint64(AParcel* parcel, uint64_t value);
binder_status_t AParcel_writeFloat(AParcel* parcel, float value);
binder_status_t AParcel_writeDouble(AParcel* parcel, double value);
binder_status_t AParcel_writeBool(AParcel* parcel, bool value);
binder_status_t AParcel_writeChar(AParcel* parcel, char16_t value);
binder_status_t AParcel_writeByte(AParcel* parcel, int8_t value);
binder_status_t AParcel_readInt32(const AParcel* parcel, int32_t* value);
binder_status_t AParcel_readUint32(const AParcel* parcel, uint32_t* value);
binder_status_t AParcel_readInt64(const AParcel* parcel, int64_t* value);
binder_status_t AParcel_readUint64(const AParcel* parcel, uint64_t* value);
binder_status_t AParcel_readFloat(const AParcel* parcel, float* value);
binder_status_t AParcel_readDouble(const AParcel* parcel, double* value);
binder_status_t AParcel_readBool(const AParcel* parcel, bool* value);
binder_status_t AParcel_readChar(const AParcel* parcel, char16_t* value);
binder_status_t AParcel_readByte(const AParcel* parcel, int8_t* value);

// Strings travel as UTF-16: an int32 count of code units (-1 for null), the units, a 16-bit NUL,
// padding. string is UTF-8 of length bytes, or null with length -1; invalid UTF-8 is
// STATUS_BAD_VALUE.
binder_status_t AParcel_writeString(AParcel* parcel, const char* string, int32_t length);
// Asks the allocator for a buffer of length bytes (the UTF-8 text and its NUL), or calls it with
// -1 for a null string; a refused null is STATUS_UNEXPECTED_NULL, a refused buffer
// STATUS_NO_MEMORY.
typedef bool (*AParcel_stringAllocator)(void* stringData, int32_t length, char** buffer);
binder_status_t AParcel_readString(const AParcel* parcel, void* stringData,
                                   AParcel_stringAllocator allocator);

// Arrays: an int32 element count (-1 for a null array, given as a null arrayData and length -1),
// then the elements. Reads ask the allocator to size the destination once the count is known to
// fit in the remaining data; an allocator that refuses a null array gives STATUS_UNEXPECTED_NULL.
typedef bool (*AParcel_int32ArrayAllocator)(void* arrayData, int32_t length, int32_t** outBuffer);
typedef bool (*AParcel_uint32ArrayAllocator)(void* arrayData, int32_t length, uint32_t** outBuffer);
typedef bool (*AParcel_int64ArrayAllocator)(void* arrayData, int32_t length, int64_t** outBuffer);
typedef bool (*AParcel_uint64ArrayAllocator)(void* arrayData, int32_t length, uint64_t** outBuffer);
typedef bool (*AParcel_floatArrayAllocator)(void* arrayData, int32_t length, float** outBuffer);
typedef bool (*AParcel_doubleArrayAllocator)(void* arrayData, int32_t length, double** outBuffer);
typedef bool (*AParcel_charArrayAllocator)(void* arrayData, int32_t length, char16_t** outBuffer);
typedef bool (*AParcel_byteArrayAllocator)(void* arrayData, int32_t length, int8_t** outBuffer);
// bool arrays are not contiguous: the allocator sizes, the getter and setter move one element.
typedef bool (*AParcel_boolArrayAllocator)(void* arrayData, int32_t length);
typedef bool (*AParcel_boolArrayGetter)(const void* arrayData, size_t index);
typedef void (*AParcel_boolArraySetter)(void* arrayData, size_t index, bool value);

binder_status_t AParcel_writeInt32Array(AParcel* parcel, const int32_t* arrayData, int32_t length);
binder_status_t AParcel_writeUint32Array(AParcel* parcel, const uint32_t* arrayData, int32_t length);
binder_status_t AParcel_writeInt64Array(AParcel* parcel, const int64_t* arrayData, int32_t length);
binder_status_t AParcel_writeUint64Array(AParcel* parcel, const uint64_t* arrayData, int32_t length);
binder_status_t AParcel_writeFloatArray(AParcel* parcel, const float* arrayData, int32_t length);
binder_status_t AParcel_writeDoubleArray(AParcel* parcel, const double* arrayData, int32_t length);
// One int32 per element.
binder_status_t AParcel_writeCharArray(AParcel* parcel, const char16_t* arrayData, int32_t length);
// Packed bytes, padded to 4.
binder_status_t AParcel_writeByteArray(AParcel* parcel, const int8_t* arrayData, int32_t length);
// One int32 per element.
binder_status_t AParcel_writeBoolArray(AParcel* parcel, const void* arrayData, int32_t length,
                                       AParcel_boolArrayGetter getter);

binder_status_t AParcel_readInt32Array(const AParcel* parcel, void* arrayData,
                                       AParcel_int32ArrayAllocator allocator);
binder_status_t AParcel_readUint32Array(const AParcel* parcel, void* arrayData,
                                        AParcel_uint32ArrayAllocator allocator);
binder_status_t AParcel_readInt64Array(const AParcel* parcel, void* arrayData,
                                       AParcel_int64ArrayAllocator allocator);
binder_status_t AParcel_readUint64Array(const AParcel* parcel, void* arrayData,
                                        AParcel_uint64ArrayAllocator allocator);
binder_status_t AParcel_readFloatArray(const AParcel* parcel, void* arrayData,
                                       AParcel_floatArrayAllocator allocator);
binder_status_t AParcel_readDoubleArray(const AParcel* parcel, void* arrayData,
                                        AParcel_doubleArrayAllocator allocator);
binder_status_t AParcel_readCharArray(const AParcel* parcel, void* arrayData,
                                      AParcel_charArrayAllocator allocator);
binder_status_t AParcel_readByteArray(const AParcel* parcel, void* arrayData,
                                      AParcel_byteArrayAllocator allocator);
binder_status_t AParcel_readBoolArray(const AParcel* parcel, void* arrayData,
                                      AParcel_boolArrayAllocator allocator,
                                      AParcel_boolArraySetter setter);

// String arrays: each element as a string. The getter returns an element (null for a null
// element, with *outLength -1); the element allocator works like AParcel_stringAllocator.
typedef const char* (*AParcel_stringArrayElementGetter)(const void* arrayData, size_t index,
                                                        int32_t* outLength);
typedef bool (*AParcel_stringArrayAllocator)(void* arrayData, int32_t length);
typedef bool (*AParcel_stringArrayElementAllocator)(void* arrayData, size_t index, int32_t length,
                                                    char** buffer);
binder_status_t AParcel_writeStringArray(AParcel* parcel, const void* arrayData, int32_t length,
                                         AParcel_stringArrayElementGetter getter);
binder_status_t AParcel_readStringArray(const AParcel* parcel, void* arrayData,
                                        AParcel_stringArrayAllocator allocator,
                                        AParcel_stringArrayElementAllocator elementAllocator);

// Arrays of parcelables (and of anything else written element by element): the count, then each
// element through the callback.
typedef binder_status_t (*AParcel_writeParcelableElement)(AParcel* parcel, const void* arrayData,
                                                          size_t index);
typedef bool (*AParcel_parcelableArrayAllocator)(void* arrayData, int32_t length);
typedef binder_status_t (*AParcel_readParcelableElement)(const AParcel* parcel, void* arrayData,
                                                         size_t index);
binder_status_t AParcel_writeParcelableArray(AParcel* parcel, const void* arrayData, int32_t length,
                                             AParcel_writeParcelableElement elementWriter);
binder_status_t AParcel_readParcelableArray(const AParcel* parcel, void* arrayData,
                                            AParcel_parcelableArrayAllocator allocator,
                                            AParcel_readParcelableElement elementReader);

// Binder objects: a 24-byte flat_binder_object and an int32 stability word. A null binder is such
// an object with null pointers and is not an object of the parcel. The parcel keeps a strong
// reference to each binder it holds; a read gives the caller a new strong reference, or
// STATUS_BAD_TYPE when there is no binder at the position.
binder_status_t AParcel_writeStrongBinder(AParcel* parcel, AIBinder* binder);
binder_status_t AParcel_readStrongBinder(const AParcel* parcel, AIBinder** binder);

// File descriptors: an int32 0 for none (fd -1), or an int32 1 followed by a 24-byte object. The
// parcel keeps a duplicate of fd; a read gives the caller a new duplicate (or -1 for none), and
// STATUS_BAD_TYPE when there is no descriptor at the position.
binder_status_t AParcel_writeParcelFileDescriptor(AParcel* parcel, int fd);
binder_status_t AParcel_readParcelFileDescriptor(const AParcel* parcel, int* fd);

#ifdef __cplusplus
}  // extern "C"
#endif
