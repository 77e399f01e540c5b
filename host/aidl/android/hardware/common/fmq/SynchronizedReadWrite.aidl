package android.hardware.common.fmq;

/** Tag type selecting the synchronized read/write flavour of a fast message queue. */
@VintfStability
enum SynchronizedReadWrite {
    EMPTY = 0,
}
