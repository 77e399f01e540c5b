package android.media.audio.common;

/**  */
@Backing(type="int")
@VintfStability
enum AudioStandard {
    NONE = 0,
    EDID = 1,
    SADB = 2,
    VSADB = 3,
}
