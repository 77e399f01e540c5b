package android.media.audio.common;

/** Bit indices for AudioGain.mode and AudioGainConfig.mode. */
@Backing(type="byte")
@VintfStability
enum AudioGainMode {
    JOINT = 0,
    CHANNELS = 1,
    RAMP = 2,
}
