package android.media.audio.common;

/**
 * Accuracy asked of the flushFromFrame stream command; it travels in the upper 4 bits of
 * StreamDescriptor.Command.flushFromFrame.
 */
@Backing(type="int")
@VintfStability
enum FlushFromFrameAccuracy {
    /** Flush from the closest possible position that is not below the requested one. */
    BEST_EFFORT = 0,
    /** Flush exactly from the requested position, otherwise fail. */
    EXACT = 1,
}
