// The two messages of Error.
#pragma once

#include "base/message_table.h"

// For data of wrong format.
constexpr MessageRow dataFormatMessage[] = {
    {0x409, u"The data have incorrect format."}, // English (United States)
    {0x404, u"資料格式不正確。"}, // Chinese (Traditional)
    {0x406, u"Dataene har et ugyldigt format."}, // Danish
    {0x407, u"Falsches Datenformat."}, // German
    {0x408, u"Τα δεδομένα έχουν εσφαλμένη μορφή."}, // Greek
    {0x410, u"Formato della data non corretto."}, // Italian
    {0x411, u"データの形式が正しくありません。"}, // Japanese
    {0x412, u"데이터 형식이 잘못되었습니다."}, // Korean
    {0x413, u"De gegevens hebben een onjuiste indeling."}, // Dutch
    {0x414, u"Dataene har feil format."}, // Norwegian
    {0x416, u"Os dados têm formato incorreto."}, // Portuguese (Brazil)
    {0x419, u"Неправильный формат данных."}, // Russian
    {0x41D, u"Felaktigt format för data."}, // Swedish
    {0x41F, u"Veri biçimi hatalı."}, // Turkish
    {0x40B, u"Tietojen muoto on väärä."}, // Finnish
    {0x40C, u"Les données ont un format incorrect."}, // French
    {0x804, u"数据包含错误的格式。"}, // Chinese (Simplified)
    {0x816, u"Os dados têm um formato incorrecto."}, // Portuguese (Portugal)
    {0xC0A, u"Formato incorrecto de los datos."}, // Spanish
};

// For every internal error: %1 is the tag, %2 the token.
constexpr MessageRow internalErrorMessage[] = {
    {0x409, u"An internal error occured (%1: %2)."}, // English (United States)
    {0x404, u"發生內部錯誤 (%1: %2)。"}, // Chinese (Traditional)
    {0x406, u"Der opstod en intern fejl (%1: %2)."}, // Danish
    {0x407, u"Interner Fehler (%1: %2)."}, // German
    {0x408, u"Παρουσιάστηκε εσωτερικό σφάλμα (%1: %2)."}, // Greek
    {0x410, u"Si è verificato un errore interno (%1: %2)."}, // Italian
    {0x411, u"内部エラーが発生しました (%1: %2)。"}, // Japanese
    {0x412, u"내부 오류가 발생했습니다(%1: %2)."}, // Korean
    {0x413, u"Er is een interne fout opgetreden (%1: %2)."}, // Dutch
    {0x414, u"Det oppstod en intern feil (%1: %2)."}, // Norwegian
    {0x416, u"Ocorreu um erro (%1: %2)."}, // Portuguese (Brazil)
    {0x419, u"Произошла внутренняя ошибка (%1: %2)."}, // Russian
    {0x41D, u"Ett internt fel har inträffat (%1: %2)."}, // Swedish
    {0x41F, u"İç hata oluştu (%1: %2)."}, // Turkish
    {0x40B, u"Sisäinen virhe tapahtui (%1: %2)."}, // Finnish
    {0x40C, u"Une erreur interne s'est produite (%1: %2)."}, // French
    {0x804, u"发生了内部错误(%1: %2)。"}, // Chinese (Simplified)
    {0x816, u"Ocorreu um erro interno (%1: %2)."}, // Portuguese (Portugal)
    {0xC0A, u"Se ha producido un error interno (%1: %2)."}, // Spanish
};
