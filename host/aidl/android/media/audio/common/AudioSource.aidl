package android.media.audio.common;

/** Capture source (use case). */
@Backing(type="int")
@VintfStability
enum AudioSource {
    SYS_RESERVED_INVALID = -1,
    DEFAULT = 0,
    MIC = 1,
    VOICE_UPLINK = 2,
    VOICE_DOWNLINK = 3,
    VOICE_CALL = 4,
    CAMCORDER = 5,
    VOICE_RECOGNITION = 6,
    VOICE_COMMUNICATION = 7,
    REMOTE_SUBMIX = 8,
    UNPROCESSED = 9,
    VOICE_PERFORMANCE = 10,
    ECHO_REFERENCE = 1997,
    FM_TUNER = 1998,
    HOTWORD = 1999,
    ULTRASOUND = 2000,
}
