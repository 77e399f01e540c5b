package android.hardware.audio.core;

/** The client callback for the events of an output stream. On the host a binder handle: it declares no methods. */
@VintfStability
interface IStreamOutEventCallback {}
