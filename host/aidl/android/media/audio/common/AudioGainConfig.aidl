package android.media.audio.common;

/** A gain setting applied to a port config (values in millibels). */
@VintfStability
parcelable AudioGainConfig {
    /** Index into AudioPort.gains. */
    int index;
    /** Bitmask indexed by AudioGainMode. */
    int mode;
    AudioChannelLayout channelMask;
    /** Millibels; 1 value in joint mode, else one per channel of channelMask. */
    int[] values;
    int rampDurationMs;
}
