// The messages of the file system; %1 is the path.
//
// The Greek have none of their own, and read English.
#pragma once

#include "base/message_table.h"

namespace Io::Fs {

constexpr MessageRow createFileMessage[] = {
    {0x409, u"Cannot create file '%1'."}, // English (United States)
    {0x404, u"無法建立檔案 '%1'。"}, // Chinese (Traditional)
    {0x406, u"Filen '%1' kan ikke oprettes."}, // Danish
    {0x407, u"Datei '%1' kann nicht erstellt werden."}, // German
    {0x410, u"Impossibile creare il file '%1'."}, // Italian
    {0x411, u"ファイル '%1' を作成できません。"}, // Japanese
    {0x412, u"파일 '%1'을(를) 만들 수 없습니다."}, // Korean
    {0x413, u"Kan het bestand %1 niet maken."}, // Dutch
    {0x414, u"Kan ikke opprette filen '%1'."}, // Norwegian
    {0x416, u"Não é possível criar o arquivo '%1'."}, // Portuguese (Brazil)
    {0x419, u"Невозможно создать файл  '%1'."}, // Russian
    {0x41D, u"Det gick inte att skapa filen %1."}, // Swedish
    {0x41F, u"'%1' dosyası oluşturulamıyor."}, // Turkish
    {0x40B, u"Tiedostoa '%1' ei voi luoda."}, // Finnish
    {0x40C, u"Impossible de créer le fichier '%1'."}, // French
    {0x804, u"无法创建文件 '%1'。"}, // Chinese (Simplified)
    {0x816, u"Não é possível criar o ficheiro '%1'."}, // Portuguese (Portugal)
    {0xC0A, u"No se puede crear el archivo '%1'."}, // Spanish
};

constexpr MessageRow openFileMessage[] = {
    {0x409, u"Cannot open file '%1'."}, // English (United States)
    {0x404, u"無法開啟檔案 '%1'。"}, // Chinese (Traditional)
    {0x406, u"Filen '%1' kan ikke åbnes."}, // Danish
    {0x407, u"Datei '%1' kann nicht geöffnet werden."}, // German
    {0x410, u"Impossibile aprire il file '%1'."}, // Italian
    {0x411, u"ファイル '%1' を開けません。"}, // Japanese
    {0x412, u"파일 '%1'을(를) 열 수 없습니다."}, // Korean
    {0x413, u"Kan het bestand %1 niet openen."}, // Dutch
    {0x414, u"Kan ikke åpne filen '%1'."}, // Norwegian
    {0x416, u"Não é possível abrir o arquivo '%1'."}, // Portuguese (Brazil)
    {0x419, u"Невозможно открыть файл '%1'."}, // Russian
    {0x41D, u"Det gick inte att öppna filen %1."}, // Swedish
    {0x41F, u"'%1' dosyası açılamıyor."}, // Turkish
    {0x40B, u"Tiedostoa '%1' ei voi avata."}, // Finnish
    {0x40C, u"Impossible d'ouvrir le fichier '%1'."}, // French
    {0x804, u"无法打开文件 '%1'。"}, // Chinese (Simplified)
    {0x816, u"Não é possível abrir o ficheiro '%1'."}, // Portuguese (Portugal)
    {0xC0A, u"No se puede abrir el archivo '%1'."}, // Spanish
};

constexpr MessageRow readFileMessage[] = {
    {0x409, u"Failed to read file '%1'."}, // English (United States)
    {0x404, u"讀取檔案 '%1' 失敗。"}, // Chinese (Traditional)
    {0x406, u"Filen '%1' kan ikke læses."}, // Danish
    {0x407, u"Die Datei '%1' konnte nicht gelesen werden."}, // German
    {0x410, u"Impossibile leggere il file '%1'."}, // Italian
    {0x411, u"ファイル '%1' を読み取れませんでした。"}, // Japanese
    {0x412, u"파일 '%1'을(를) 읽지 못했습니다."}, // Korean
    {0x413, u"Het lezen van het bestand %1 is mislukt."}, // Dutch
    {0x414, u"Kan ikke lese filen '%1'."}, // Norwegian
    {0x416, u"Falha ao ler o arquivo '%1'."}, // Portuguese (Brazil)
    {0x419, u"Не удается прочитать файл '%1'."}, // Russian
    {0x41D, u"Det gick inte att läsa filen %1."}, // Swedish
    {0x41F, u"'%1' dosyası okunamadı."}, // Turkish
    {0x40B, u"Tiedoston '%1' lukeminen epäonnistui."}, // Finnish
    {0x40C, u"Échec à la lecture du fichier '%1'."}, // French
    {0x804, u"无法读取文件 '%1'。"}, // Chinese (Simplified)
    {0x816, u"Ocorreu uma falha ao ler o ficheiro '%1'."}, // Portuguese (Portugal)
    {0xC0A, u"Error al leer el archivo '%1'."}, // Spanish
};

constexpr MessageRow writeFileMessage[] = {
    {0x409, u"Failed to write file '%1'."}, // English (United States)
    {0x404, u"寫入檔案 '%1' 失敗。"}, // Chinese (Traditional)
    {0x406, u"Filen '%1' kan ikke skrives."}, // Danish
    {0x407, u"In die Datei '%1' konnte nicht geschrieben werden."}, // German
    {0x410, u"Impossibile scrivere il file '%1'."}, // Italian
    {0x411, u"ファイル '%1' に書き込めませんでした。"}, // Japanese
    {0x412, u"파일 '%1'을(를) 쓰지 못했습니다."}, // Korean
    {0x413, u"Het schrijven van het bestand %1 is mislukt."}, // Dutch
    {0x414, u"Kan ikke skrive filen '%1'."}, // Norwegian
    {0x416, u"Falha ao gravar o arquivo '%1'."}, // Portuguese (Brazil)
    {0x419, u"Не удается записать файл '%1'."}, // Russian
    {0x41D, u"Det gick inte att skriva filen %1."}, // Swedish
    {0x41F, u"'%1' dosyasına yazılamadı."}, // Turkish
    {0x40B, u"Tiedoston '%1' kirjoittaminen epäonnistui."}, // Finnish
    {0x40C, u"Échec à l'enregistrement du fichier '%1'."}, // French
    {0x804, u"无法写入文件 '%1'。"}, // Chinese (Simplified)
    {0x816, u"Ocorreu uma falha ao escrever o ficheiro '%1'."}, // Portuguese (Portugal)
    {0xC0A, u"Error al escribir el archivo '%1'."}, // Spanish
};

constexpr MessageRow deleteFileMessage[] = {
    {0x409, u"Failed to delete file '%1'."}, // English (United States)
    {0x404, u"刪除檔案 '%1' 失敗。"}, // Chinese (Traditional)
    {0x406, u"Filen '%1' kan ikke slettes."}, // Danish
    {0x407, u"Die Datei '%1' konnte nicht gelöscht werden."}, // German
    {0x410, u"Impossibile eliminare il file '%1'."}, // Italian
    {0x411, u"ファイル '%1' を削除できませんでした。"}, // Japanese
    {0x412, u"파일 '%1'을(를) 삭제하지 못했습니다."}, // Korean
    {0x413, u"Het verwijderen van het bestand %1 is mislukt."}, // Dutch
    {0x414, u"Kan ikke slette filen '%1'."}, // Norwegian
    {0x416, u"Falha ao excluir o arquivo '%1'."}, // Portuguese (Brazil)
    {0x419, u"Не удается удалить файл '%1'."}, // Russian
    {0x41D, u"Det gick inte att ta bort filen %1."}, // Swedish
    {0x41F, u"'%1' dosyası silinemedi."}, // Turkish
    {0x40B, u"Tiedoston '%1' poistaminen epäonnistui."}, // Finnish
    {0x40C, u"Échec à la suppression du fichier '%1'."}, // French
    {0x804, u"无法删除文件 '%1'。"}, // Chinese (Simplified)
    {0x816, u"Ocorreu uma falha ao eliminar o ficheiro '%1'."}, // Portuguese (Portugal)
    {0xC0A, u"Error al eliminar el archivo '%1'."}, // Spanish
};

constexpr MessageRow createFolderMessage[] = {
    {0x409, u"Cannot create folder '%1'."}, // English (United States)
    {0x404, u"無法建立資料夾 '%1'。"}, // Chinese (Traditional)
    {0x406, u"Mappen '%1' kan ikke oprettes."}, // Danish
    {0x407, u"Ordner '%1' kann nicht erstellt werden."}, // German
    {0x410, u"Impossibile creare la cartella '%1'."}, // Italian
    {0x411, u"フォルダ '%1' を作成できません。"}, // Japanese
    {0x412, u"폴더 '%1'을(를) 만들 수 없습니다."}, // Korean
    {0x413, u"Kan de map %1 niet maken."}, // Dutch
    {0x414, u"Kan ikke opprette mappen '%1'."}, // Norwegian
    {0x416, u"Não é possível criar a pasta '%1'."}, // Portuguese (Brazil)
    {0x419, u"Невозможно создать папку '%1'."}, // Russian
    {0x41D, u"Det gick inte att skapa mappen %1."}, // Swedish
    {0x41F, u"'%1' klasörü oluşturulamıyor."}, // Turkish
    {0x40B, u"Kansiota '%1' ei voi luoda."}, // Finnish
    {0x40C, u"Impossible de créer le dossier '%1'."}, // French
    {0x804, u"无法创建文件夹 '%1'。"}, // Chinese (Simplified)
    {0x816, u"Não é possível criar a pasta '%1'."}, // Portuguese (Portugal)
    {0xC0A, u"No se puede crear la carpeta '%1'."}, // Spanish
};

constexpr MessageRow removeFolderMessage[] = {
    {0x409, u"Failed to remove folder '%1'."}, // English (United States)
    {0x404, u"移除資料夾 '%1' 失敗。"}, // Chinese (Traditional)
    {0x406, u"Mappen '%1' kunne ikke fjernes."}, // Danish
    {0x407, u"Ordner '%1' konnte nicht gelöscht werden."}, // German
    {0x410, u"Impossibile rimuovere la cartella '%1'."}, // Italian
    {0x411, u"フォルダ '%1' を削除できませんでした。"}, // Japanese
    {0x412, u"폴더 '%1'을(를) 제거하지 못했습니다."}, // Korean
    {0x413, u"Het verwijderen van de map %1 is mislukt."}, // Dutch
    {0x414, u"Kan ikke fjerne mappen '%1'."}, // Norwegian
    {0x416, u"Falha ao remover a pasta '%1'."}, // Portuguese (Brazil)
    {0x419, u"Не удается переместить папку '%1'."}, // Russian
    {0x41D, u"Det gick inte att ta bort mappen %1."}, // Swedish
    {0x41F, u"'%1' klasörü kaldırılamadı."}, // Turkish
    {0x40B, u"Kansion '%1' poistaminen epäonnistui."}, // Finnish
    {0x40C, u"Échec à la suppression du dossier '%1'."}, // French
    {0x804, u"无法删除文件夹 '%1'。"}, // Chinese (Simplified)
    {0x816, u"Ocorreu uma falha ao remover a pasta '%1'."}, // Portuguese (Portugal)
    {0xC0A, u"Error al quitar la carpeta '%1'."}, // Spanish
};

constexpr MessageRow accessFolderMessage[] = {
    {0x409, u"Cannot access folder '%1'."}, // English (United States)
    {0x404, u"無法存取資料夾 '%1'。"}, // Chinese (Traditional)
    {0x406, u"Der kan ikke opnås adgang til mappen '%1'."}, // Danish
    {0x407, u"Auf Ordner '%1' kann nicht zugegriffen werden."}, // German
    {0x410, u"Impossibile accedere alla cartella '%1'."}, // Italian
    {0x411, u"フォルダ '%1' にアクセスできません。"}, // Japanese
    {0x412, u"폴더 '%1'에 액세스할 수 없습니다."}, // Korean
    {0x413, u"Kan de map %1 niet openen."}, // Dutch
    {0x414, u"Ingen tilgang til mappen '%1'."}, // Norwegian
    {0x416, u"Não é possível acessar a pasta '%1'."}, // Portuguese (Brazil)
    {0x419, u"Невозможно получить доступ к папке '%1'."}, // Russian
    {0x41D, u"Det gick inte att komma åt katalogen %1."}, // Swedish
    {0x41F, u"'%1' klasörüne erişilemiyor."}, // Turkish
    {0x40B, u"Kansiota '%1' ei voi avata."}, // Finnish
    {0x40C, u"Impossible d'accéder au dossier '%1'."}, // French
    {0x804, u"无法访问文件夹 '%1'。"}, // Chinese (Simplified)
    {0x816, u"Não é possível aceder à pasta '%1'."}, // Portuguese (Portugal)
    {0xC0A, u"No se puede tener acceso a la carpeta '%1'."}, // Spanish
};

} // namespace Io::Fs
