package android.media.audio.common;

/** Parameters of compressed offloaded playback. */
@VintfStability
parcelable AudioOffloadInfo {
    AudioConfigBase base;
    AudioStreamType streamType = AudioStreamType.INVALID;
    int bitRatePerSecond;
    long durationUs;
    boolean hasVideo;
    boolean isStreaming;
    int bitWidth = 16;
    int offloadBufferSize;
    AudioUsage usage = AudioUsage.INVALID;
    AudioEncapsulationMode encapsulationMode = AudioEncapsulationMode.INVALID;
    int contentId;
    int syncId;
}
