-- nidmask 1.0: national identification numbers masked, generated, encrypted
-- and checked by the nidmask provider, inside the server.
\echo Use "CREATE EXTENSION nidmask" to load this file. \quit

-- Masking is deterministic (the same value and options give the same result
-- in every backend and on every node), so mask, the shorthands, encrypt and
-- decrypt are IMMUTABLE and PARALLEL SAFE; they are STRICT: NULL gives NULL.
-- options takes the keys validate, pass_invalid, parts, separator, form,
-- area_table, official and on_reject ('error', 'null' or 'keep').

CREATE FUNCTION mask(country text, value text, options jsonb DEFAULT '{}')
RETURNS text
AS 'MODULE_PATHNAME', 'nidmask_mask'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION mask_nir(value text) RETURNS text
AS 'MODULE_PATHNAME', 'nidmask_mask_nir' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION mask_cf(value text) RETURNS text
AS 'MODULE_PATHNAME', 'nidmask_mask_cf' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION mask_nino(value text) RETURNS text
AS 'MODULE_PATHNAME', 'nidmask_mask_nino' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION mask_nif(value text) RETURNS text
AS 'MODULE_PATHNAME', 'nidmask_mask_nif' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION mask_ssn(value text) RETURNS text
AS 'MODULE_PATHNAME', 'nidmask_mask_ssn' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION mask_sin(value text) RETURNS text
AS 'MODULE_PATHNAME', 'nidmask_mask_sin' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

-- Numeric columns: the value reaches the provider as its numeric column type
-- (an unsigned 64-bit integer), not as text.
CREATE FUNCTION mask_ssn(value bigint) RETURNS bigint
AS 'MODULE_PATHNAME', 'nidmask_mask_ssn_bigint' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION mask_sin(value bigint) RETURNS bigint
AS 'MODULE_PATHNAME', 'nidmask_mask_sin_bigint' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

-- A fresh random identifier on every call. PARALLEL RESTRICTED: the
-- provider draws from the C library's generator, whose state is per
-- process; workers started together would repeat each other's values.
CREATE FUNCTION random(country text, options jsonb DEFAULT '{}')
RETURNS text
AS 'MODULE_PATHNAME', 'nidmask_random'
LANGUAGE C VOLATILE STRICT PARALLEL RESTRICTED;

-- Keyed encryption that keeps the identifier valid, and its inverse. The
-- key is 32 bytes; the tweak (a table or column name) gives other results
-- for the same key.
CREATE FUNCTION encrypt(country text, value text, key bytea, tweak text DEFAULT '', options jsonb DEFAULT '{}')
RETURNS text
AS 'MODULE_PATHNAME', 'nidmask_encrypt'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION decrypt(country text, value text, key bytea, tweak text DEFAULT '', options jsonb DEFAULT '{}')
RETURNS text
AS 'MODULE_PATHNAME', 'nidmask_decrypt'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

-- True when full validation accepts the value.
CREATE FUNCTION is_valid(country text, value text)
RETURNS boolean
AS 'MODULE_PATHNAME', 'nidmask_is_valid'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

-- Why full validation refuses a value: every message, with its English text
-- and tokens. These show the value: they go to the caller, not to the log.
-- (CHECK is a reserved word: call it as nidmask.check(...).)
CREATE FUNCTION "check"(country text, value text)
RETURNS TABLE(message int, text text, tokens jsonb)
AS 'MODULE_PATHNAME', 'nidmask_check'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE ROWS 2;
