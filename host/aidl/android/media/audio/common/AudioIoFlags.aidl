package android.media.audio.common;

/** Bitmask of input or output flags; the active alternative tells which. */
@VintfStability
union AudioIoFlags {
    /** Bitmask indexed by AudioInputFlags. */
    int input;
    /** Bitmask indexed by AudioOutputFlags. */
    int output;
}
