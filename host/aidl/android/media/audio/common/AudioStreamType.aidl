package android.media.audio.common;

/** Legacy stream type. */
@Backing(type="int")
@VintfStability
enum AudioStreamType {
    INVALID = -2,
    SYS_RESERVED_DEFAULT = -1,
    VOICE_CALL = 0,
    SYSTEM = 1,
    RING = 2,
    MUSIC = 3,
    ALARM = 4,
    NOTIFICATION = 5,
    BLUETOOTH_SCO = 6,
    ENFORCED_AUDIBLE = 7,
    DTMF = 8,
    TTS = 9,
    ACCESSIBILITY = 10,
    ASSISTANT = 11,
    SYS_RESERVED_REROUTING = 12,
    SYS_RESERVED_PATCH = 13,
    CALL_ASSISTANT = 14,
}
