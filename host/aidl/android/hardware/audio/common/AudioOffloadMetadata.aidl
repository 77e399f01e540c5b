package android.hardware.audio.common;

import android.media.audio.common.AudioChannelLayout;

/** Metadata of compressed (offloaded) playback that can change during the stream. */
@VintfStability
parcelable AudioOffloadMetadata {
    int sampleRate;
    AudioChannelLayout channelMask;
    int averageBitRatePerSecond;
    int delayFrames;
    int paddingFrames;
}
