package android.media.audio.common;

/** Telephony and audio mode of the device. */
@Backing(type="int")
@VintfStability
enum AudioMode {
    SYS_RESERVED_INVALID = -2,
    SYS_RESERVED_CURRENT = -1,
    NORMAL = 0,
    RINGTONE = 1,
    IN_CALL = 2,
    IN_COMMUNICATION = 3,
    CALL_SCREEN = 4,
    SYS_RESERVED_CALL_REDIRECT = 5,
    SYS_RESERVED_COMMUNICATION_REDIRECT = 6,
}
