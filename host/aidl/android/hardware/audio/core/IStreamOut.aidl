package android.hardware.audio.core;

/** An output stream opened by IModule.openOutputStream. On the host a binder handle: it declares no methods. */
@VintfStability
interface IStreamOut {}
