'use strict';

/** An error with a code and what it is about: the path of a file, or the index of a title. */
module.exports = function semanticError(code, message, { type = Error, cause, ...about } = {}) {
  const error = new type(message, cause === undefined ? undefined : { cause });
  Error.captureStackTrace(error, semanticError);
  return Object.assign(error, { code }, about);
};
