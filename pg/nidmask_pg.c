/*
 * nidmask's SQL functions: the server's side of the extension.
 *
 * Plain C. Each function reads its arguments, asks the bridge (pg_bridge.h)
 * to serve one value, and only after the bridge returned copies the result
 * into server memory or raises an error: ereport's longjmp and palloc's
 * never cross a C++ frame.
 *
 * A call's rule (country, options, method, key, tweak) is opened once per
 * query and call site and kept in fn_extra with the arguments it was opened
 * with; a row with the same arguments (compared byte for byte, the jsonb in
 * its binary form) goes straight to the bridge.
 */
#include "postgres.h"

#include "fmgr.h"
#include "funcapi.h"
#include "mb/pg_wchar.h"
#include "miscadmin.h"
#include "storage/ipc.h"
#include "utils/builtins.h"
#include "utils/guc.h"
#include "utils/jsonb.h"
#include "utils/memutils.h"
#include "utils/tuplestore.h"

#include "pg_bridge.h"

PG_MODULE_MAGIC;

/* nidmask.provider: the provider library, for superusers to choose. */
static char *provider_setting = NULL;

/* A copy of an argument's bytes. */
typedef struct Bytes
{
	char	   *data;
	int			len;
} Bytes;

/* What a call site keeps in fn_extra. */
typedef struct RuleCache
{
	bool		open;
	NidmaskRule rule;
	MemoryContext context;
	Bytes		country;
	Bytes		options;		/* the jsonb's binary form */
	Bytes		key;			/* wiped when the query's memory goes */
	Bytes		tweak;
} RuleCache;

/* One call's arguments that choose the rule. */
typedef struct RuleArgs
{
	const char *country;
	int			country_len;
	Jsonb	   *options;		/* NULL: options_text instead */
	const char *options_text;
	NidmaskMethod method;
	bool		numeric;
	const char *key;
	int			key_len;
	const char *tweak;
	int			tweak_len;
} RuleArgs;

void		_PG_init(void);

static void
release_at_exit(int code, Datum arg)
{
	nidmask_release_all();
}

void
_PG_init(void)
{
	DefineCustomStringVariable("nidmask.provider",
							   "The nidmask provider library a backend loads.",
							   "Empty: $NIDMASK_PROVIDER, else libQRNNIDPrvLib.so in $libdir/nidmask. "
							   "A backend reads it at its first nidmask call.",
							   &provider_setting,
							   "",
							   PGC_SUSET,
							   0,
							   NULL, NULL, NULL);
	MarkGUCPrefixReserved("nidmask");
	on_proc_exit(release_at_exit, (Datum) 0);
}

/* Raises the error a bridge status stands for. */
static void
report(NidmaskStatus status, const NidmaskOutcome *outcome)
{
	const char *text = outcome->error != NULL ? outcome->error : "unknown failure";

	switch (status)
	{
		case NIDMASK_REJECTED:
			ereport(ERROR,
					(errcode(ERRCODE_DATA_EXCEPTION),
					 errmsg("nidmask: %s", text),
					 errdetail("Message number %u.", outcome->message),
					 errhint("The option on_reject ('null' or 'keep') returns NULL or the value instead.")));
			break;
		case NIDMASK_BAD_ARGUMENT:
			ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE), errmsg("nidmask: %s", text)));
			break;
		case NIDMASK_CONFLICT:
			ereport(ERROR, (errcode(ERRCODE_OBJECT_NOT_IN_PREREQUISITE_STATE), errmsg("nidmask: %s", text)));
			break;
		default:
			ereport(ERROR, (errcode(ERRCODE_EXTERNAL_ROUTINE_EXCEPTION), errmsg("nidmask: %s", text)));
			break;
	}
}

static bool
same_bytes(const Bytes *kept, const char *data, int len)
{
	return kept->data != NULL && kept->len == len && memcmp(kept->data, data, len) == 0;
}

static void
keep_bytes(MemoryContext context, Bytes *kept, const char *data, int len)
{
	if (kept->data != NULL)
	{
		explicit_bzero(kept->data, kept->len);
		pfree(kept->data);
	}
	kept->data = MemoryContextAlloc(context, len + 1);
	memcpy(kept->data, data, len);
	kept->data[len] = '\0';
	kept->len = len;
}

static void
wipe_key(void *arg)
{
	RuleCache  *cache = (RuleCache *) arg;

	if (cache->key.data != NULL)
		explicit_bzero(cache->key.data, cache->key.len);
}

static const char *
options_bytes(const RuleArgs *args, int *len)
{
	if (args->options == NULL)
	{
		*len = (int) strlen(args->options_text);
		return args->options_text;
	}
	*len = (int) VARSIZE_ANY_EXHDR(args->options);
	return VARDATA_ANY(args->options);
}

/* The call site's rule for these arguments, opened when they changed. */
static RuleCache *
ensure_rule(FunctionCallInfo fcinfo, const RuleArgs *args)
{
	RuleCache  *cache = (RuleCache *) fcinfo->flinfo->fn_extra;
	const char *options;
	int			options_len;
	NidmaskRuleRequest request;
	NidmaskOutcome outcome;
	NidmaskStatus status;
	char	   *options_json;

	if (cache == NULL)
	{
		MemoryContextCallback *callback;

		cache = MemoryContextAllocZero(fcinfo->flinfo->fn_mcxt, sizeof(RuleCache));
		cache->context = fcinfo->flinfo->fn_mcxt;
		callback = MemoryContextAllocZero(fcinfo->flinfo->fn_mcxt, sizeof(MemoryContextCallback));
		callback->func = wipe_key;
		callback->arg = cache;
		MemoryContextRegisterResetCallback(fcinfo->flinfo->fn_mcxt, callback);
		fcinfo->flinfo->fn_extra = cache;
	}
	options = options_bytes(args, &options_len);
	if (cache->open &&
		same_bytes(&cache->country, args->country, args->country_len) &&
		same_bytes(&cache->options, options, options_len) &&
		(args->key == NULL || same_bytes(&cache->key, args->key, args->key_len)) &&
		(args->tweak == NULL || same_bytes(&cache->tweak, args->tweak, args->tweak_len)))
		return cache;

	cache->open = false;
	options_json = args->options != NULL
		? JsonbToCString(NULL, &args->options->root, VARSIZE_ANY_EXHDR(args->options))
		: pstrdup(args->options_text);
	memset(&request, 0, sizeof(request));
	request.country = args->country;
	request.countryLen = args->country_len;
	request.optionsJson = options_json;
	request.optionsLen = strlen(options_json);
	request.method = args->method;
	request.numeric = args->numeric;
	request.key = (const unsigned char *) args->key;
	request.keyLen = args->key != NULL ? args->key_len : 0;
	request.tweak = args->tweak;
	request.tweakLen = args->tweak != NULL ? args->tweak_len : 0;
	request.providerPath = provider_setting;
	status = nidmask_open_rule(&request, &cache->rule, &outcome);
	if (status != NIDMASK_OK)
		report(status, &outcome);

	keep_bytes(cache->context, &cache->country, args->country, args->country_len);
	keep_bytes(cache->context, &cache->options, options, options_len);
	if (args->key != NULL)
		keep_bytes(cache->context, &cache->key, args->key, args->key_len);
	if (args->tweak != NULL)
		keep_bytes(cache->context, &cache->tweak, args->tweak, args->tweak_len);
	cache->open = true;
	return cache;
}

/*
 * The database's text as UTF-8 for the bridge, and the bridge's UTF-8 back
 * (nothing to do in a UTF-8 database).
 */
static const char *
to_utf8(const char *data, int *len)
{
	char	   *converted;

	if (GetDatabaseEncoding() == PG_UTF8)
		return data;
	converted = pg_server_to_any(data, *len, PG_UTF8);
	if (converted != data)
		*len = (int) strlen(converted);
	return converted;
}

static text *
text_from_utf8(const char *data, size_t len)
{
	char	   *converted;

	if (GetDatabaseEncoding() == PG_UTF8)
		return cstring_to_text_with_len(data, (int) len);
	converted = pg_any_to_server(data, (int) len, PG_UTF8);
	return converted == data ? cstring_to_text_with_len(data, (int) len) : cstring_to_text(converted);
}

/* Serves one text value; the value argument is argument number value_arg. */
static Datum
apply_text(FunctionCallInfo fcinfo, const RuleArgs *args, int value_arg)
{
	text	   *value = PG_GETARG_TEXT_PP(value_arg);
	int			len = VARSIZE_ANY_EXHDR(value);
	const char *data = to_utf8(VARDATA_ANY(value), &len);
	RuleCache  *cache = ensure_rule(fcinfo, args);
	NidmaskOutcome outcome;
	NidmaskStatus status;

	while ((status = nidmask_apply_text(&cache->rule, data, len, &outcome)) == NIDMASK_STALE)
	{
		cache->open = false;
		cache = ensure_rule(fcinfo, args);
	}
	switch (status)
	{
		case NIDMASK_OK:
			PG_RETURN_TEXT_P(text_from_utf8(outcome.text, outcome.len));
		case NIDMASK_PASSED:
			PG_RETURN_DATUM(PG_GETARG_DATUM(value_arg));
		case NIDMASK_REJECTED:
			if (cache->rule.onReject == NIDMASK_REJECT_NULL)
				PG_RETURN_NULL();
			if (cache->rule.onReject == NIDMASK_REJECT_KEEP)
				PG_RETURN_DATUM(PG_GETARG_DATUM(value_arg));
			break;
		default:
			break;
	}
	report(status, &outcome);
	PG_RETURN_NULL();			/* not reached */
}

static Datum
apply_number(FunctionCallInfo fcinfo, const char *country)
{
	int64		value = PG_GETARG_INT64(0);
	RuleArgs	args = {country, (int) strlen(country), NULL, "{}", NIDMASK_MASK, true};
	RuleCache  *cache = ensure_rule(fcinfo, &args);
	NidmaskOutcome outcome;
	NidmaskStatus status;

	while ((status = nidmask_apply_number(&cache->rule, value, &outcome)) == NIDMASK_STALE)
	{
		cache->open = false;
		cache = ensure_rule(fcinfo, &args);
	}
	if (status == NIDMASK_OK)
		PG_RETURN_INT64(outcome.number);
	if (status == NIDMASK_PASSED)
		PG_RETURN_INT64(value);
	report(status, &outcome);
	PG_RETURN_NULL();			/* not reached */
}

static RuleArgs
country_args(FunctionCallInfo fcinfo, int country_arg, int options_arg, NidmaskMethod method)
{
	text	   *country = PG_GETARG_TEXT_PP(country_arg);
	RuleArgs	args;

	memset(&args, 0, sizeof(args));
	args.country = VARDATA_ANY(country);
	args.country_len = VARSIZE_ANY_EXHDR(country);
	if (options_arg >= 0)
		args.options = PG_GETARG_JSONB_P(options_arg);
	else
		args.options_text = "{}";
	args.method = method;
	return args;
}

PG_FUNCTION_INFO_V1(nidmask_mask);
Datum
nidmask_mask(PG_FUNCTION_ARGS)
{
	RuleArgs	args = country_args(fcinfo, 0, 2, NIDMASK_MASK);

	return apply_text(fcinfo, &args, 1);
}

/* The shorthands: one country each, default options. */
#define NIDMASK_SHORTHAND(name, code) \
PG_FUNCTION_INFO_V1(name); \
Datum \
name(PG_FUNCTION_ARGS) \
{ \
	RuleArgs	args = {code, 2, NULL, "{}", NIDMASK_MASK, false}; \
	return apply_text(fcinfo, &args, 0); \
}

NIDMASK_SHORTHAND(nidmask_mask_nir, "FR")
NIDMASK_SHORTHAND(nidmask_mask_cf, "IT")
NIDMASK_SHORTHAND(nidmask_mask_nino, "UK")
NIDMASK_SHORTHAND(nidmask_mask_nif, "ES")
NIDMASK_SHORTHAND(nidmask_mask_ssn, "US")
NIDMASK_SHORTHAND(nidmask_mask_sin, "CA")

PG_FUNCTION_INFO_V1(nidmask_mask_ssn_bigint);
Datum
nidmask_mask_ssn_bigint(PG_FUNCTION_ARGS)
{
	return apply_number(fcinfo, "US");
}

PG_FUNCTION_INFO_V1(nidmask_mask_sin_bigint);
Datum
nidmask_mask_sin_bigint(PG_FUNCTION_ARGS)
{
	return apply_number(fcinfo, "CA");
}

PG_FUNCTION_INFO_V1(nidmask_random);
Datum
nidmask_random(PG_FUNCTION_ARGS)
{
	RuleArgs	args = country_args(fcinfo, 0, 1, NIDMASK_RANDOM);
	RuleCache  *cache = ensure_rule(fcinfo, &args);
	NidmaskOutcome outcome;
	NidmaskStatus status;

	while ((status = nidmask_generate(&cache->rule, &outcome)) == NIDMASK_STALE)
	{
		cache->open = false;
		cache = ensure_rule(fcinfo, &args);
	}
	if (status == NIDMASK_OK)
		PG_RETURN_TEXT_P(text_from_utf8(outcome.text, outcome.len));
	if (status == NIDMASK_REJECTED && cache->rule.onReject != NIDMASK_REJECT_ERROR)
		PG_RETURN_NULL();
	report(status, &outcome);
	PG_RETURN_NULL();			/* not reached */
}

static Datum
keyed(FunctionCallInfo fcinfo, NidmaskMethod method)
{
	RuleArgs	args = country_args(fcinfo, 0, 4, method);
	bytea	   *key = PG_GETARG_BYTEA_PP(2);
	text	   *tweak = PG_GETARG_TEXT_PP(3);

	args.key = VARDATA_ANY(key);
	args.key_len = VARSIZE_ANY_EXHDR(key);
	args.tweak = VARDATA_ANY(tweak);
	args.tweak_len = VARSIZE_ANY_EXHDR(tweak);
	return apply_text(fcinfo, &args, 1);
}

PG_FUNCTION_INFO_V1(nidmask_encrypt);
Datum
nidmask_encrypt(PG_FUNCTION_ARGS)
{
	return keyed(fcinfo, NIDMASK_ENCRYPT);
}

PG_FUNCTION_INFO_V1(nidmask_decrypt);
Datum
nidmask_decrypt(PG_FUNCTION_ARGS)
{
	return keyed(fcinfo, NIDMASK_DECRYPT);
}

/* Full validation of one value: the bridge's status and message count. */
static NidmaskStatus
check_value(FunctionCallInfo fcinfo, size_t *count, NidmaskOutcome *outcome)
{
	RuleArgs	args = country_args(fcinfo, 0, -1, NIDMASK_MASK);
	text	   *value = PG_GETARG_TEXT_PP(1);
	int			len = VARSIZE_ANY_EXHDR(value);
	const char *data = to_utf8(VARDATA_ANY(value), &len);
	RuleCache  *cache;
	NidmaskStatus status;

	args.options_text = "{\"validate\": true}";
	cache = ensure_rule(fcinfo, &args);
	while ((status = nidmask_validate(&cache->rule, data, len, count, outcome)) == NIDMASK_STALE)
	{
		cache->open = false;
		cache = ensure_rule(fcinfo, &args);
	}
	if (status != NIDMASK_OK && status != NIDMASK_PASSED)
		report(status, outcome);
	return status;
}

PG_FUNCTION_INFO_V1(nidmask_is_valid);
Datum
nidmask_is_valid(PG_FUNCTION_ARGS)
{
	size_t		count = 0;
	NidmaskOutcome outcome;
	NidmaskStatus status = check_value(fcinfo, &count, &outcome);

	PG_RETURN_BOOL(status == NIDMASK_OK && count == 0);
}

PG_FUNCTION_INFO_V1(nidmask_check);
Datum
nidmask_check(PG_FUNCTION_ARGS)
{
	ReturnSetInfo *rsinfo = (ReturnSetInfo *) fcinfo->resultinfo;
	size_t		count = 0;
	NidmaskOutcome outcome;
	size_t		i;

	InitMaterializedSRF(fcinfo, 0);
	check_value(fcinfo, &count, &outcome);
	for (i = 0; i < count; i++)
	{
		uint32_t	message;
		const char *message_text;
		const char *tokens;
		Datum		values[3];
		bool		nulls[3] = {false, false, false};

		nidmask_check_message(i, &message, &message_text, &tokens);
		values[0] = Int32GetDatum((int32) message);
		values[1] = PointerGetDatum(text_from_utf8(message_text, strlen(message_text)));
		values[2] = DirectFunctionCall1(jsonb_in, CStringGetDatum(tokens));
		tuplestore_putvalues(rsinfo->setResult, rsinfo->setDesc, values, nulls);
	}
	return (Datum) 0;
}
