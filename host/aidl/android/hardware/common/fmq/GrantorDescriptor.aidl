package android.hardware.common.fmq;

/** One region of a fast message queue inside the shared memory. */
@VintfStability
parcelable GrantorDescriptor {
    int fdIndex;
    int offset;
    long extent;
}
