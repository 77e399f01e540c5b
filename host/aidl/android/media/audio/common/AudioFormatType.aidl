package android.media.audio.common;

/** Top-level format kind. */
@Backing(type="byte")
@VintfStability
enum AudioFormatType {
    DEFAULT = 0,
    NON_PCM = DEFAULT,
    PCM = 1,
    SYS_RESERVED_INVALID = -1,
}
