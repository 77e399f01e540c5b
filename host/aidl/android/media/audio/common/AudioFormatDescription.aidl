package android.media.audio.common;

/**
 * Audio format: PCM (type PCM + pcm sample type) or encoded (type NON_PCM + encoding string);
 * encoding is empty for PCM.
 */
@VintfStability
parcelable AudioFormatDescription {
    AudioFormatType type = AudioFormatType.DEFAULT;
    PcmType pcm = PcmType.DEFAULT;
    @utf8InCpp String encoding;
}
