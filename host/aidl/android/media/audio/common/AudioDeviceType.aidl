package android.media.audio.common;

/**
 * Device types. Input types are 1..14 (plus alias IN_BUS), output types are 129..147 (plus alias
 * OUT_BUS).
 */
@Backing(type="int")
@VintfStability
enum AudioDeviceType {
    NONE = 0,
    IN_DEFAULT = 1,
    IN_ACCESSORY = 2,
    IN_AFE_PROXY = 3,
    IN_DEVICE = 4,
    IN_ECHO_REFERENCE = 5,
    IN_FM_TUNER = 6,
    IN_HEADSET = 7,
    IN_LOOPBACK = 8,
    IN_MICROPHONE = 9,
    IN_MICROPHONE_BACK = 10,
    IN_SUBMIX = 11,
    IN_TELEPHONY_RX = 12,
    IN_TV_TUNER = 13,
    IN_DOCK = 14,
    IN_BUS = IN_DEVICE,
    OUT_DEFAULT = 129,
    OUT_ACCESSORY = 130,
    OUT_AFE_PROXY = 131,
    OUT_CARKIT = 132,
    OUT_DEVICE = 133,
    OUT_ECHO_CANCELLER = 134,
    OUT_FM = 135,
    OUT_HEADPHONE = 136,
    OUT_HEADSET = 137,
    OUT_HEARING_AID = 138,
    OUT_LINE_AUX = 139,
    OUT_SPEAKER = 140,
    OUT_SPEAKER_EARPIECE = 141,
    OUT_SPEAKER_SAFE = 142,
    OUT_SUBMIX = 143,
    OUT_TELEPHONY_TX = 144,
    OUT_DOCK = 145,
    OUT_BROADCAST = 146,
    OUT_BUS = OUT_DEVICE,
    OUT_MULTICHANNEL_GROUP = 147,
}
