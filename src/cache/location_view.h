// The location rows of the base pack and the caller's, merged under a key and indexed by first characters.
