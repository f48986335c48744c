// When the cached automation objects are let go. A module that keeps one names its release routine here the
// first time that it creates the object, and before it keeps it: without memory for the name nothing is kept.
#pragma once

enum class KeptUntil {
  ObjectEnds,     // released by the end-of-use clean-up of an object
  ModuleUnloads,  // released when the DLL may be unloaded
  OthersAreGone,  // the same, after all of those: what they need to be released
};

// Has `release` called at the end named; a routine that is known already is not entered twice.
void release_Later(KeptUntil end, void (*release)());

// The end-of-use clean-up when an object of the module ends: releases what is kept until then, unless
// "HKLM\Software\Norvak\SkipAutoUnload" is "1" (read once a process).
void clean_up_Process();

// Releases everything that is still kept; called when the module may be unloaded.
void release_Components();
