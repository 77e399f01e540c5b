package android.media.audio.common;

/** Gain controller capabilities of a port (values in millibels). */
@VintfStability
parcelable AudioGain {
    /** Bitmask indexed by AudioGainMode. */
    int mode;
    AudioChannelLayout channelMask;
    int minValue;
    int maxValue;
    int defaultValue;
    int stepValue;
    int minRampMs;
    int maxRampMs;
    boolean useForVolume;
}
