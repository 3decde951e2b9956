/*
 * The PostgreSQL extension's way into the host kit: a plain C interface in
 * front of the C++ that drives the provider. Every function is noexcept and
 * catches everything, so no C++ exception reaches the server's C code, and
 * none of them calls the server (no palloc, no ereport), so no longjmp
 * crosses a C++ frame: the C front end copies results into server memory
 * and raises errors after a call returned.
 *
 * A backend keeps up to NIDMASK_CACHED_INSTANCES initialised provider
 * instances, one per (country, options, method, key, tweak); the least
 * recently used one is terminated when another is needed. Texts a call
 * returns (results and messages) belong to the bridge and stay valid until
 * the next call. Messages never show a value in clear (the first two
 * characters and the length at most) and never the key.
 */
#ifndef NIDMASK_PG_BRIDGE_H
#define NIDMASK_PG_BRIDGE_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define NIDMASK_NOEXCEPT noexcept
extern "C" {
#else
#define NIDMASK_NOEXCEPT
#endif

#define NIDMASK_CACHED_INSTANCES 16
#define NIDMASK_KEY_BYTES 32

typedef enum NidmaskMethod { NIDMASK_MASK, NIDMASK_RANDOM, NIDMASK_ENCRYPT, NIDMASK_DECRYPT } NidmaskMethod;

/* What a rejected value becomes (the option on_reject). */
typedef enum NidmaskOnReject { NIDMASK_REJECT_ERROR, NIDMASK_REJECT_NULL, NIDMASK_REJECT_KEEP } NidmaskOnReject;

typedef enum NidmaskStatus {
    NIDMASK_OK = 0,        /* the result is in the outcome */
    NIDMASK_PASSED,        /* passed through (empty, blanks, invalid under pass_invalid): the result is the value */
    NIDMASK_REJECTED,      /* the value was rejected: outcome.message and outcome.error */
    NIDMASK_BAD_ARGUMENT,  /* a country, option or key the caller must correct: outcome.error */
    NIDMASK_CONFLICT,      /* another United States area table than the backend's: outcome.error */
    NIDMASK_STALE,         /* the rule's instance was evicted: open the rule again */
    NIDMASK_FAILED         /* the provider could not be loaded or set up, Service failed, no memory: outcome.error */
} NidmaskStatus;

/* How a rule is opened: the arguments of an SQL call, texts as UTF-8 bytes. */
typedef struct NidmaskRuleRequest {
    const char *country;
    size_t countryLen;
    const char *optionsJson; /* the options object as JSON text */
    size_t optionsLen;
    NidmaskMethod method;
    bool numeric;            /* a bigint column: the provider's U_LONG_LONG type */
    const unsigned char *key; /* encrypt, decrypt: NIDMASK_KEY_BYTES bytes */
    size_t keyLen;
    const char *tweak;
    size_t tweakLen;
    const char *providerPath; /* the nidmask.provider setting, or NULL: used by the first load only */
} NidmaskRuleRequest;

/* An opened rule: which cached instance serves it, and its on_reject. */
typedef struct NidmaskRule {
    uint64_t serial;
    NidmaskOnReject onReject;
} NidmaskRule;

/* What a call gives back; texts belong to the bridge until its next call. */
typedef struct NidmaskOutcome {
    const char *text; /* NIDMASK_OK of a text rule: the result (not NUL-terminated) */
    size_t len;
    int64_t number;   /* NIDMASK_OK of a numeric rule: the result */
    uint32_t message; /* NIDMASK_REJECTED: the message number */
    const char *error; /* NUL-terminated text for every status but OK and PASSED */
} NidmaskOutcome;

/* Parses the options, finds or sets up the instance, and fills *rule. */
NidmaskStatus nidmask_open_rule(const NidmaskRuleRequest *request, NidmaskRule *rule, NidmaskOutcome *outcome) NIDMASK_NOEXCEPT;

/* Masks, encrypts or decrypts one UTF-8 value with an opened text rule. */
NidmaskStatus nidmask_apply_text(const NidmaskRule *rule, const char *value, size_t len,
                                 NidmaskOutcome *outcome) NIDMASK_NOEXCEPT;

/* The same for a numeric rule and a bigint value (a negative one is rejected). */
NidmaskStatus nidmask_apply_number(const NidmaskRule *rule, int64_t value, NidmaskOutcome *outcome) NIDMASK_NOEXCEPT;

/* Generates one value with an opened rule of method NIDMASK_RANDOM. */
NidmaskStatus nidmask_generate(const NidmaskRule *rule, NidmaskOutcome *outcome) NIDMASK_NOEXCEPT;

/*
 * Serves one value like nidmask_apply_text and keeps every message the
 * provider (or the host) had about it; *count receives how many. Opened
 * with {"validate": true}, the rule checks fully. Unlike the other calls'
 * errors, these messages show the value: they go to the caller. The status
 * is nidmask_apply_text's, but NIDMASK_REJECTED is NIDMASK_OK with messages.
 */
NidmaskStatus nidmask_validate(const NidmaskRule *rule, const char *value, size_t len, size_t *count,
                            NidmaskOutcome *outcome) NIDMASK_NOEXCEPT;

/* Message i of the last nidmask_validate: its number, its English text and its
 * tokens as a JSON object ({"SRCDATA": "..."}), NUL-terminated. */
void nidmask_check_message(size_t i, uint32_t *message, const char **text, const char **tokensJson) NIDMASK_NOEXCEPT;

/* Terminates every cached instance (at backend exit). */
void nidmask_release_all(void) NIDMASK_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
