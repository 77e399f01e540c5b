package android.media.audio.common;

/** Bit indices for AudioPortDeviceExt.encapsulationMetadataTypes. */
@Backing(type="int")
@VintfStability
enum AudioEncapsulationMetadataType {
    NONE = 0,
    FRAMEWORK_TUNER = 1,
    DVB_AD_DESCRIPTOR = 2,
}
