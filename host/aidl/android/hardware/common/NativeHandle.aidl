package android.hardware.common;

/** A native handle: file descriptors plus integers. */
@VintfStability
parcelable NativeHandle {
    ParcelFileDescriptor[] fds;
    int[] ints;
}
