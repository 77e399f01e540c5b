package android.hardware.audio.common;

/** Metadata of all tracks that feed an output stream. */
@VintfStability
parcelable SourceMetadata {
    PlaybackTrackMetadata[] tracks;
}
