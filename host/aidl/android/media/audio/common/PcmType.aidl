package android.media.audio.common;

/** PCM sample representation. */
@Backing(type="byte")
@VintfStability
enum PcmType {
    DEFAULT = 0,
    UINT_8_BIT = DEFAULT,
    INT_16_BIT = 1,
    INT_32_BIT = 2,
    FIXED_Q_8_24 = 3,
    FLOAT_32_BIT = 4,
    INT_24_BIT = 5,
}
