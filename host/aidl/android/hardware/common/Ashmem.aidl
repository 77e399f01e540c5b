package android.hardware.common;

/** A shared memory region given by a file descriptor and a size in bytes. */
@VintfStability
parcelable Ashmem {
    ParcelFileDescriptor fd;
    long size;
}
