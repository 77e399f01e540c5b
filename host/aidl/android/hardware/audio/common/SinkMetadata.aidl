package android.hardware.audio.common;

/** Metadata of all tracks that consume an input stream. */
@VintfStability
parcelable SinkMetadata {
    RecordTrackMetadata[] tracks;
}
