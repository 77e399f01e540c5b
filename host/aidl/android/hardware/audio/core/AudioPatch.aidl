package android.hardware.audio.core;

/**
 * A connection between one or more source port configurations and one or more sink port
 * configurations inside a module.
 */
@VintfStability
parcelable AudioPatch {
    /** Unique within the module. */
    int id;
    int[] sourcePortConfigIds;
    int[] sinkPortConfigIds;
    /** Filled in by the module. */
    int minimumStreamBufferSizeFrames;
    /** One entry per element of sinkPortConfigIds. */
    int[] latenciesMs;
}
