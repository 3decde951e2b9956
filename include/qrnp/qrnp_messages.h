// Host ABI: message numbers.
//
// Every failure the provider reports is one of these numbers, captured in the
// error list with its tokens; drivers also store it as the cell's status. The
// texts belong to the host (tools/nidmask has the catalogue). This header is
// the one place that lists them.
#ifndef QRNP_MESSAGES_H
#define QRNP_MESSAGES_H

// Small codes used by the drivers and the queries.
#define QRNP_MSG_INVALID_METHOD_CODE 11     // driver method neither mask nor random (not captured)
#define QRNP_MSG_NO_CONVERSION_BLOCK 26     // column definition has no conversion block
#define QRNP_MSG_REQUEST_NOT_SUPPORTED 63   // GetInfo request unknown
#define QRNP_MSG_BUFFER_TOO_SMALL 64        // GetInfo buffer too small; a row's value too long for the destination
#define QRNP_MSG_NOT_A_NUMBER 66            // a row's result is not a number that fits the numeric column
#define QRNP_MSG_EMPTY_CHARACTER_VALUE 74   // empty character value passed through ("J")
#define QRNP_MSG_EMPTY_NUMERIC_VALUE 75     // empty or zero numeric value passed through ("K")
#define QRNP_MSG_NO_MEMORY 106              // working buffer could not be acquired or grown
#define QRNP_MSG_BAD_ALLOC_SIZE 107         // buffer size below 1

// Provider and framework, 4352-4412.
#define QRNP_MSG_BLOCK_ACQUIRE_FAILED 4352      // 0x1100 state block not acquired (not captured)
#define QRNP_MSG_NO_COUNTRY_INITIALISED 4353    // 0x1101
#define QRNP_MSG_DATATYPE_NOT_SUPPORTED 4354    // 0x1102 tokens: type, column, country
#define QRNP_MSG_NOT_INITIALISED 4355           // 0x1103 no NidCtrlBlk (also: Canada's ValidateSIN)
#define QRNP_MSG_SOURCE_CELL_MISSING 4356       // 0x1104 token: column index
#define QRNP_MSG_INVALID_METHOD 4357            // 0x1105 token: method
#define QRNP_MSG_ROWSET_EMPTY 4358              // 0x1106 tokens: row count, rows list
#define QRNP_MSG_INVALID_SEPARATOR_OPTION 4360  // 0x1108 tokens: separator, country
#define QRNP_MSG_INVALID_PARTS_OPTION 4362      // 0x110A token: country
#define QRNP_MSG_SRC_COLUMN_INDEX 4363          // 0x110B tokens: column index, column count
#define QRNP_MSG_COUNTRY_NOT_INITIALISED 4364   // 0x110C token: country
#define QRNP_MSG_HEAP_CREATE_FAILED 4365        // 0x110D
#define QRNP_MSG_HEAP_DISCARD_FAILED 4366       // 0x110E
#define QRNP_MSG_DEST_BUFFER_MISSING 4402       // 0x1132
#define QRNP_MSG_SOURCE_ONLY_SPACES 4403        // 0x1133 passed through, not a failure
#define QRNP_MSG_SOURCE_CONVERSION 4404         // 0x1134 token: country
#define QRNP_MSG_INVALID_LENGTH 4405            // 0x1135 tokens: value, length, country
#define QRNP_MSG_INVALID_SEPARATOR 4406         // 0x1136 tokens: value, country
#define QRNP_MSG_INVALID_SOURCE_DATA 4407       // 0x1137 tokens: value, country
#define QRNP_MSG_NULL_SOURCE 4408               // 0x1138 destination set to NULL
#define QRNP_MSG_UNKNOWN_COUNTRY 4409           // 0x1139
#define QRNP_MSG_DEST_CONVERSION 4410           // 0x113A token: country
#define QRNP_MSG_COLUMN_PRECISION 4412          // 0x113C tokens: length, type, country

// France, 4453-4458.
#define QRNP_MSG_FR_INIT_FAILED 4453
#define QRNP_MSG_FR_INVALID_SEX 4454
#define QRNP_MSG_FR_INVALID_DEPT 4455
#define QRNP_MSG_FR_INVALID_MONTH 4456
#define QRNP_MSG_FR_INVALID_COMMUNE 4457
#define QRNP_MSG_FR_INVALID_KEY 4458

// Spain, 4478-4479.
#define QRNP_MSG_ES_INIT_FAILED 4478
#define QRNP_MSG_ES_INVALID_SUFFIX 4479

// Italy, 4503-4512.
#define QRNP_MSG_IT_INIT_FAILED 4503
#define QRNP_MSG_IT_INVALID_NAME 4504
#define QRNP_MSG_IT_INVALID_REPLACEMENT 4505
#define QRNP_MSG_IT_INVALID_SOURCE_DATA 4506
#define QRNP_MSG_IT_INVALID_FAMILY_NAME 4507
#define QRNP_MSG_IT_INVALID_FIRST_NAME 4508
#define QRNP_MSG_IT_INVALID_BIRTH_DATE 4509
#define QRNP_MSG_IT_INVALID_REGION 4510
#define QRNP_MSG_IT_INVALID_CHECK 4511
#define QRNP_MSG_IT_MASK_FAILED 4512

// United Kingdom, 4528-4534.
#define QRNP_MSG_UK_INIT_FAILED 4528
#define QRNP_MSG_UK_INVALID_FLAGS 4529
#define QRNP_MSG_UK_INVALID_PREFIX 4530
#define QRNP_MSG_UK_INVALID_NUMBER 4531
#define QRNP_MSG_UK_INVALID_SUFFIX 4532
#define QRNP_MSG_UK_INVALID_DEST_FORMAT 4533
#define QRNP_MSG_UK_METHOD_FORM_MISMATCH 4534

// United States, 4553-4558.
#define QRNP_MSG_US_INIT_FAILED 4553
#define QRNP_MSG_US_INVALID_AREA 4554
#define QRNP_MSG_US_AREA_NOT_IN_USE 4555
#define QRNP_MSG_US_INVALID_GROUP 4556
#define QRNP_MSG_US_INVALID_SERIAL 4557
#define QRNP_MSG_US_INVALID_FLAGS 4558

// Canada, 4578-4579.
#define QRNP_MSG_CA_INIT_FAILED 4578
#define QRNP_MSG_CA_INVALID_SIN 4579

// Every message number, for hosts that keep a text for each.
#define QRNP_MESSAGE_LIST(X) \
    X(QRNP_MSG_INVALID_METHOD_CODE) \
    X(QRNP_MSG_NO_CONVERSION_BLOCK) \
    X(QRNP_MSG_REQUEST_NOT_SUPPORTED) \
    X(QRNP_MSG_BUFFER_TOO_SMALL) \
    X(QRNP_MSG_NOT_A_NUMBER) \
    X(QRNP_MSG_EMPTY_CHARACTER_VALUE) \
    X(QRNP_MSG_EMPTY_NUMERIC_VALUE) \
    X(QRNP_MSG_NO_MEMORY) \
    X(QRNP_MSG_BAD_ALLOC_SIZE) \
    X(QRNP_MSG_BLOCK_ACQUIRE_FAILED) \
    X(QRNP_MSG_NO_COUNTRY_INITIALISED) \
    X(QRNP_MSG_DATATYPE_NOT_SUPPORTED) \
    X(QRNP_MSG_NOT_INITIALISED) \
    X(QRNP_MSG_SOURCE_CELL_MISSING) \
    X(QRNP_MSG_INVALID_METHOD) \
    X(QRNP_MSG_ROWSET_EMPTY) \
    X(QRNP_MSG_INVALID_SEPARATOR_OPTION) \
    X(QRNP_MSG_INVALID_PARTS_OPTION) \
    X(QRNP_MSG_SRC_COLUMN_INDEX) \
    X(QRNP_MSG_COUNTRY_NOT_INITIALISED) \
    X(QRNP_MSG_HEAP_CREATE_FAILED) \
    X(QRNP_MSG_HEAP_DISCARD_FAILED) \
    X(QRNP_MSG_DEST_BUFFER_MISSING) \
    X(QRNP_MSG_SOURCE_ONLY_SPACES) \
    X(QRNP_MSG_SOURCE_CONVERSION) \
    X(QRNP_MSG_INVALID_LENGTH) \
    X(QRNP_MSG_INVALID_SEPARATOR) \
    X(QRNP_MSG_INVALID_SOURCE_DATA) \
    X(QRNP_MSG_NULL_SOURCE) \
    X(QRNP_MSG_UNKNOWN_COUNTRY) \
    X(QRNP_MSG_DEST_CONVERSION) \
    X(QRNP_MSG_COLUMN_PRECISION) \
    X(QRNP_MSG_FR_INIT_FAILED) \
    X(QRNP_MSG_FR_INVALID_SEX) \
    X(QRNP_MSG_FR_INVALID_DEPT) \
    X(QRNP_MSG_FR_INVALID_MONTH) \
    X(QRNP_MSG_FR_INVALID_COMMUNE) \
    X(QRNP_MSG_FR_INVALID_KEY) \
    X(QRNP_MSG_ES_INIT_FAILED) \
    X(QRNP_MSG_ES_INVALID_SUFFIX) \
    X(QRNP_MSG_IT_INIT_FAILED) \
    X(QRNP_MSG_IT_INVALID_NAME) \
    X(QRNP_MSG_IT_INVALID_REPLACEMENT) \
    X(QRNP_MSG_IT_INVALID_SOURCE_DATA) \
    X(QRNP_MSG_IT_INVALID_FAMILY_NAME) \
    X(QRNP_MSG_IT_INVALID_FIRST_NAME) \
    X(QRNP_MSG_IT_INVALID_BIRTH_DATE) \
    X(QRNP_MSG_IT_INVALID_REGION) \
    X(QRNP_MSG_IT_INVALID_CHECK) \
    X(QRNP_MSG_IT_MASK_FAILED) \
    X(QRNP_MSG_UK_INIT_FAILED) \
    X(QRNP_MSG_UK_INVALID_FLAGS) \
    X(QRNP_MSG_UK_INVALID_PREFIX) \
    X(QRNP_MSG_UK_INVALID_NUMBER) \
    X(QRNP_MSG_UK_INVALID_SUFFIX) \
    X(QRNP_MSG_UK_INVALID_DEST_FORMAT) \
    X(QRNP_MSG_UK_METHOD_FORM_MISMATCH) \
    X(QRNP_MSG_US_INIT_FAILED) \
    X(QRNP_MSG_US_INVALID_AREA) \
    X(QRNP_MSG_US_AREA_NOT_IN_USE) \
    X(QRNP_MSG_US_INVALID_GROUP) \
    X(QRNP_MSG_US_INVALID_SERIAL) \
    X(QRNP_MSG_US_INVALID_FLAGS) \
    X(QRNP_MSG_CA_INIT_FAILED) \
    X(QRNP_MSG_CA_INVALID_SIN)

#endif
