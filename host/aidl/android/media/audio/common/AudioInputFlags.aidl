package android.media.audio.common;

/** Bit indices for AudioIoFlags.input (bit = 1 << value). */
@Backing(type="int")
@VintfStability
enum AudioInputFlags {
    FAST = 0,
    HW_HOTWORD = 1,
    RAW = 2,
    SYNC = 3,
    MMAP_NOIRQ = 4,
    VOIP_TX = 5,
    HW_AV_SYNC = 6,
    DIRECT = 7,
    ULTRASOUND = 8,
    HOTWORD_TAP = 9,
    HW_LOOKBACK = 10,
}
