package android.media.audio.common;

/** Playback speed/pitch settings with time-stretch behaviour. */
@VintfStability
parcelable AudioPlaybackRate {
    /** Time-stretch algorithm selection. */
    @Backing(type="int")
    @VintfStability
    enum TimestretchMode {
        DEFAULT = 0,
        VOICE = 1,
    }

    /** What to do when the requested rate can not be honoured. */
    @Backing(type="int")
    @VintfStability
    enum TimestretchFallbackMode {
        SYS_RESERVED_CUT_REPEAT = -1,
        SYS_RESERVED_DEFAULT = 0,
        MUTE = 1,
        FAIL = 2,
    }

    float speed;
    float pitch;
    TimestretchMode timestretchMode = TimestretchMode.DEFAULT;
    TimestretchFallbackMode fallbackMode = TimestretchFallbackMode.SYS_RESERVED_DEFAULT;
}
