package android.media.audio.common;

/** Encapsulation mode requested for offloaded playback. */
@Backing(type="byte")
@VintfStability
enum AudioEncapsulationMode {
    INVALID = -1,
    NONE = 0,
    ELEMENTARY_STREAM = 1,
    HANDLE = 2,
}
